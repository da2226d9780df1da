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
        return ToSeconds(Now() - m_start.load(std::memory_order_relaxed));
    }

    // Seconds on the clock of all stopwatches, from a moment that is the same for all of them; and
    // when this one was started. To compare many of them at one and the same moment.
    static double GetTime() noexcept { return ToSeconds(Now()); }
    double GetStartTime() const noexcept {
        return ToSeconds(m_start.load(std::memory_order_relaxed));
    }

private:
    using Clock = std::chrono::steady_clock;

    static Clock::rep Now() noexcept { return Clock::now().time_since_epoch().count(); }

    static double ToSeconds(Clock::rep ticks) noexcept {
        return std::chrono::duration<double>(Clock::duration(ticks)).count();
    }

    std::atomic<Clock::rep> m_start;
};

}  // namespace zel
