#pragma once

#include "zel/commands/TimerEventSource.h"
#include "zel/core/Thread.h"

#include <memory>
#include <vector>

namespace zel {

class TimerQueue;

/// Runs any number of one-shot timers on one thread. The thread sleeps until the nearest timer is
/// due, fires the timers that are due, and disarms them. Without timers it sleeps without a time
/// limit.
///
///     RCPtr<TimerEventThread> timers(new TimerEventThread);
///     timers->Start();
///     timers->AddTimer(new CallbackTimer(0.2, [] { std::puts("due"); }));
///     ...
///     timers->RequestStop();
///     timers->Join();
///
/// An exception that leaves a timer's `Fire` is logged at level 2, if the program has set a
/// `Logger`, and ends the thread: no further timer fires. Timers still armed when the thread ends
/// are never fired; this object releases them when it is destroyed.
///
/// A `RepeatingTimer` stays armed until it is deleted.
///
/// After a sleep of a millisecond or more the thread wakes 150 microseconds before a timer is due
/// and polls the clock for the rest. A timer that is closer to the one before may fire as much
/// late, so that many timers don't keep a processor busy. On a system whose waits are coarser the
/// thread polls for a millisecond before each timer. The time to arm, delete or fire a timer hardly
/// grows with the number of armed timers.
///
/// On Windows it can't be a static object of a DLL, see Thread.
///
/// Thread-safe. A timer's `Fire` may call every member.
///
/// Guide: docs/commands.md
class ZEL_ADVANCED_API TimerEventThread : public Thread {
public:
    TimerEventThread();

    /// Requires: the thread has exited, or was never started.
    ~TimerEventThread() override;

    /// Arms a timer and holds it until it has fired or is deleted. Does nothing if it is armed
    /// already. Throws `Exception` if `source` is null.
    ///
    /// A timer that adds itself in its own `Fire` is still armed at that moment and is disarmed
    /// afterwards: to fire again takes a new timer, or a `Restart` and an `AddTimer` after `Fire`.
    void AddTimer(RCPtr<TimerEventSource> source);

    /// Disarms a timer. Does nothing if it isn't armed or is null. A pass that has found the timer
    /// due still fires it: `Fire` may be running, or be called, after this returns.
    ///
    /// If the thread held the last reference, the timer is destroyed here, under the lock of this
    /// object.
    void DeleteTimer(TimerEventSource* source);

    /// Returns the whole milliseconds until the nearest timer is due, 0 if it is overdue, -1 if no
    /// timer is armed, and `INT_MAX` if the value doesn't fit.
    int GetAmountToWait();

    /// Fires the timers that are due now, in the order of their addresses and with no lock held,
    /// and disarms each after it has fired, except those that repeat. An exception from a timer
    /// passes through; that timer stays armed, and those after it are not fired. Called by `Run`.
    void FireEvents();

    /// Fires timers until the thread is asked to stop. Called by the thread.
    void Run() override;

private:
    void Wake();  // requires m_cs
    std::vector<RCPtr<TimerEventSource>> CollectDue();
    void EndFiring(TimerEventSource& source);
    double BeginWait() noexcept;
    bool EndWait() noexcept;

    CriticalSection m_cs;
    const std::unique_ptr<TimerQueue> m_sources;  // guarded by m_cs
    const RCPtr<Event> m_wakeEvent;

    // When the thread examines the timers next, in seconds of Timer::GetTime. No timer is due
    // earlier, so a change that keeps this true needn't wake the thread. Guarded by m_cs.
    double m_wakeTime;
};

}  // namespace zel
