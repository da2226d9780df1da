#pragma once

#include "zel/core/Timer.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/RCPtr.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace zel {

/// A one-shot timer of a `TimerEventThread`: a stopwatch, an interval, and the work to do when the
/// interval has elapsed.
///
///     class Watchdog : public TimerEventSource {
///     public:
///         Watchdog() : TimerEventSource(2.5) {}
///         void Fire() override { ... }
///     };
///
/// Guide: docs/commands.md
class ZEL_ADVANCED_API TimerEventSource : public RCObject {
public:
    /// Starts the stopwatch; the timer is due `interval` seconds from now. A negative interval and
    /// a NaN are due immediately.
    explicit TimerEventSource(double interval);
    ~TimerEventSource() override;

    /// Does the timer's work. Called on the timer thread with no lock held. All other timers wait
    /// meanwhile, and an exception ends the timer thread.
    virtual void Fire() = 0;

    /// Restarts the stopwatch, so that the timer is due one interval from now. Thread-safe, also
    /// while the timer is armed.
    void Restart() noexcept {
        m_timer.Start();
        m_tick = 1;
    }

    /// Returns when the timer is due, in seconds on the clock of `Timer::GetTime`.
    double GetDueTime() const noexcept {
        return m_timer.GetStartTime() +
               (m_interval > 0 ? m_interval * static_cast<double>(m_tick.load()) : 0);
    }

private:
    friend class RepeatingTimer;
    friend class TimerEventThread;

    bool IsRepeating() const noexcept { return m_isRepeating; }
    void Advance(double now) noexcept;

    Timer m_timer;
    const double m_interval;
    bool m_isRepeating = false;
    // Number of the next tick since the start, and of those that were left out.
    std::atomic<std::int64_t> m_tick{1};
    std::atomic<std::int64_t> m_missedTicks{0};
};

/// A timer that calls a function.
///
///     timers->AddTimer(new CallbackTimer(0.2, [] { std::puts("due"); }));
class ZEL_ADVANCED_API CallbackTimer : public TimerEventSource {
public:
    /// Creates a timer that calls `callback` after `interval` seconds. Throws `Exception` if
    /// `callback` is empty.
    CallbackTimer(double interval, std::function<void()> callback);
    ~CallbackTimer() override;

    /// Calls the function.
    void Fire() override;

private:
    const std::function<void()> m_callback;
};

/// A timer that calls a function again and again until it is deleted.
///
///     RCPtr<RepeatingTimer> heartbeat(new RepeatingTimer(0.5, [] { std::puts("tick"); }));
///     timers->AddTimer(heartbeat);
///     ...
///     timers->DeleteTimer(heartbeat.Get());
///
/// Tick n is due n intervals after the construction or the last `Restart`, so that the lateness of
/// ticks doesn't add up. A tick that is late by less than an interval is made up for; of those that
/// are later only the last, and the others are counted as missed.
class ZEL_ADVANCED_API RepeatingTimer : public CallbackTimer {
public:
    /// Creates a timer that calls `callback` every `interval` seconds. Throws `Exception` if
    /// `callback` is empty or the interval is not above 0.
    RepeatingTimer(double interval, std::function<void()> callback);
    ~RepeatingTimer() override;

    /// Returns how many ticks were missed because the timer thread was too late. Thread-safe; the
    /// function may call it.
    std::int64_t GetMissedTicks() const noexcept { return m_missedTicks; }
};

}  // namespace zel
