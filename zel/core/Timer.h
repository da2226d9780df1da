#pragma once

#include <atomic>
#include <chrono>

namespace zel {

/// A stopwatch on the monotonic clock, which is independent of changes of the wall clock. It runs
/// from its construction.
///
///     Timer timer;
///     ...
///     double seconds = timer.GetElapsedTime();
///
/// Thread-safe: one thread may read it while another restarts it.
///
/// Guide: docs/core.md
class Timer {
public:
    /// Starts at zero.
    Timer() noexcept : m_start(Now()) {}

    /// Restarts from zero.
    void Start() noexcept { m_start.store(Now(), std::memory_order_relaxed); }

    /// Returns the seconds since the construction or the last `Start`.
    double GetElapsedTime() const noexcept {
        return ToSeconds(Now() - m_start.load(std::memory_order_relaxed));
    }

    /// Returns the current time of the clock, in seconds. With `GetStartTime` many timers can be
    /// compared with one reading of the clock.
    static double GetTime() noexcept { return ToSeconds(Now()); }

    /// Returns the time of the construction or the last `Start`, on the clock of `GetTime`.
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
