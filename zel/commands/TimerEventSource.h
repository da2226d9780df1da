#pragma once

#include "zel/core/Timer.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/RCPtr.h"

#include <functional>

namespace zel {

// A one-shot timer for a TimerEventThread: a stopwatch, an interval, and what is to be done then.
//
//     class Watchdog : public TimerEventSource {
//     public:
//         Watchdog() : TimerEventSource(2.5) {}
//         void Fire() override { ... }
//     };
class ZEL_ADVANCED_API TimerEventSource : public RCObject {
public:
    // Due `interval` seconds from now. One that is negative or a NaN is due at once.
    explicit TimerEventSource(double interval);
    ~TimerEventSource() override;

    // The timer's work, on the timer thread and with no lock held. The other timers wait meanwhile,
    // and an exception ends the timer thread.
    virtual void Fire() = 0;

    // Puts the due moment off to one interval from now. Any thread may call it, also while the
    // timer is armed.
    void Restart() noexcept { m_timer.Start(); }

    // The due moment in seconds of Timer::GetTime.
    double GetDueTime() const noexcept {
        return m_timer.GetStartTime() + (m_interval > 0 ? m_interval : 0);
    }

private:
    Timer m_timer;
    const double m_interval;
};

// A timer that calls a function.
//
//     timers->AddTimer(new CallbackTimer(0.2, [] { std::puts("due"); }));
class ZEL_ADVANCED_API CallbackTimer : public TimerEventSource {
public:
    // An empty function raises Exception.
    CallbackTimer(double interval, std::function<void()> callback);
    ~CallbackTimer() override;

    void Fire() override;

private:
    const std::function<void()> m_callback;
};

}  // namespace zel
