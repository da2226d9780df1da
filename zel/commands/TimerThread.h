#pragma once

#include "zel/commands/CommandProcessor.h"
#include "zel/core/Thread.h"
#include "zel/foundation/EventSource.h"

#include <atomic>
#include <cstdint>

namespace zel {

/// A repeating tick. Its thread only measures time: at each tick it posts a command, and the sinks
/// of `GetEvent` are called on the processor's thread, so that a slow sink doesn't disturb the
/// schedule.
///
///     RCPtr<TimerThread> timer(new TimerThread(processor, 0.5, 1, TimerThread::FOREVER));
///     timer->GetEvent().Connect([](TimerThread* const&) { ... });
///     timer->Start();
///     ...
///     timer->RequestStop();
///     timer->Join();
///
/// The lateness of a tick is subtracted from the next interval. The time that posting it takes is
/// not, which delays all later ticks by some 5 to 20 microseconds each: a `RepeatingTimer` doesn't
/// drift. An interval is never shorter than 10 milliseconds; lateness beyond that is not recovered.
/// `GetMissedTicks` counts the ticks that are left out.
///
/// For the last millisecond or so before each tick the thread polls the clock without sleeping. It
/// notices a stop within 100 milliseconds. It exits after its last tick, and at the first tick that
/// finds that the processor no longer exists.
///
/// On Windows it can't be a static object of a DLL, see Thread.
///
/// Thread-safe.
///
/// Guide: docs/commands.md
class ZEL_ADVANCED_API TimerThread : public Thread {
public:
    /// The `repeatCount` of a timer that ticks until it is stopped.
    static constexpr int FOREVER = -1;

    /// Creates a timer without starting its thread.
    ///
    /// - `processor` is where ticks are posted. It is held weakly.
    /// - `period` is the number of seconds between ticks. 0, a negative value and a NaN mean about
    ///   10 milliseconds, with the first tick immediately.
    /// - `pendingLimit` is the number of ticks that may be in flight: posted and not finished. A
    ///   tick that is due when they are is dropped and not counted.
    /// - `repeatCount` is the number of ticks after which the thread exits, or `FOREVER`.
    TimerThread(WeakPtr<CommandProcessor> processor, double period, int pendingLimit,
                int repeatCount);

    /// Requires: the thread has exited, or was never started.
    ~TimerThread() override;

    /// Posts the ticks. Called by the thread.
    void Run() override;

    /// Fires the event for one tick, on the processor's thread. The argument is ignored.
    ///
    /// | A sink throws | Effect |
    /// |---|---|
    /// | an `Exception` | Logged at level 3. The sinks after it miss this tick. |
    /// | anything else | Passed to the processor. The tick remains in flight permanently. |
    void OnTimerImp(int);

    /// Returns the event that is fired with this timer at each tick. Sinks may be added and removed
    /// at any time.
    EventSource<TimerThread*>& GetEvent() noexcept { return m_event; }

    /// Returns how many ticks were missed so far: dropped because `pendingLimit` ticks were in
    /// flight, or left out because earlier ones were late by more than a period. Thread-safe; a
    /// sink may call it.
    std::int64_t GetMissedTicks() const noexcept { return m_missedTicks; }

private:
    bool IsComplete() const noexcept;
    bool BeginPending() noexcept;
    void EndPending() noexcept;
    bool PostTick();

    EventSource<TimerThread*> m_event;
    const WeakPtr<CommandProcessor> m_processor;
    const double m_period;
    const int m_repeatCount;
    int m_tickCount = 0;
    const int m_pendingLimit;
    int m_pendingCount = 0;  // guarded by m_cs
    std::atomic<std::int64_t> m_missedTicks{0};
    CriticalSection m_cs;
};

ZEL_EXTERN_TEMPLATE(
    class ZEL_ADVANCED_API AsyncCommandForRCObject<TimerThread, void (TimerThread::*)(int), int>);

}  // namespace zel
