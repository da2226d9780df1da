#pragma once

#include <atomic>
#include <chrono>

namespace zel {

// A stopwatch on the monotonic clock: a wall clock that is set changes nothing. It runs from its
// construction. One thread may read it while another restarts it.
class Timer {
public:
    Timer() noexcept : m_start(Now()) {}

    // Restarts from zero.
    void Start() noexcept { m_start.store(Now(), std::memory_order_relaxed); }

    // Seconds since the construction or the last Start.
    double GetElapsedTime() const noexcept {
        const Clock::duration elapsed(Now() - m_start.load(std::memory_order_relaxed));
        return std::chrono::duration<double>(elapsed).count();
    }

private:
    using Clock = std::chrono::steady_clock;

    static Clock::rep Now() noexcept { return Clock::now().time_since_epoch().count(); }

    std::atomic<Clock::rep> m_start;
};

}  // namespace zel
