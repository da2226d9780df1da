#pragma once

#include "zel/commands/TimerEventSource.h"
#include "zel/core/Thread.h"

#include <set>
#include <vector>

namespace zel {

// Any number of one-shot timers on one thread. It sleeps until the nearest is due, fires what is
// due and forgets it; without timers it sleeps without a limit.
//
//     RCPtr<TimerEventThread> timers(new TimerEventThread);
//     timers->Start();
//     timers->AddTimer(new CallbackTimer(0.2, [] { std::puts("due"); }));
//     ...
//     timers->RequestStop();
//     timers->Join();
//
// Any thread may call anything at any time, a timer's Fire too. Timers that are left when the
// thread ends stay unfired and go with this object. An exception from a timer ends the thread, as
// it would any. For the last millisecond before a timer is due the thread looks at the clock
// without sleeping. It looks at every armed timer on each pass, and whoever adds or deletes one
// waits for that.
class ZEL_ADVANCED_API TimerEventThread : public Thread {
public:
    TimerEventThread();

    // The owner has asked the thread to stop and has seen that it did.
    ~TimerEventThread() override;

    // Arms a timer and holds it until it has fired or is deleted. One that is armed already stays
    // as it is. A timer that adds itself in its own Fire is still armed then, and is gone after it:
    // to fire again takes a new timer, or this one, restarted, from the outside. Null raises
    // Exception.
    void AddTimer(RCPtr<TimerEventSource> source);

    // Disarms a timer; one that isn't armed, or null, is none of its business. If nobody else holds
    // the timer, it is destroyed in here, inside the lock of this object. A pass that has begun
    // still fires what it found due: when this returns, Fire may be running or about to run.
    void DeleteTimer(TimerEventSource* source);

    // Whole milliseconds until the nearest timer is due, 0 if it is overdue, and -1 without timers.
    // What an int can't hold is its largest value.
    int GetAmountToWait();

    // Fires what is due now, in the order of the timers' addresses, with no lock held, and disarms
    // each after it has fired. An exception from a timer leaves it; that timer stays armed, and
    // those behind it aren't fired. The thread's own business, as is Run.
    void FireEvents();

    void Run() override;

private:
    // These two are called inside the lock.
    double GetNearestDueTime() const noexcept;
    void Wake();

    std::vector<RCPtr<TimerEventSource>> CollectDue();
    int BeginWait() noexcept;
    bool EndWait() noexcept;

    CriticalSection m_cs;
    std::set<RCPtr<TimerEventSource>> m_sources;
    const RCPtr<Event> m_wakeEvent;

    // When the thread looks at the timers by itself, at the latest, in seconds of Timer::GetTime.
    // No timer is due earlier, so a change that leaves that true doesn't wake the thread.
    double m_wakeTime;
};

}  // namespace zel
