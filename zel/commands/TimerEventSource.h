#pragma once

#include "zel/core/Timer.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/RCPtr.h"

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
    void Restart() noexcept { m_timer.Start(); }

    /// Returns when the timer is due, in seconds on the clock of `Timer::GetTime`.
    double GetDueTime() const noexcept {
        return m_timer.GetStartTime() + (m_interval > 0 ? m_interval : 0);
    }

private:
    Timer m_timer;
    const double m_interval;
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

}  // namespace zel
