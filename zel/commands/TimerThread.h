#pragma once

#include "zel/commands/CommandProcessor.h"
#include "zel/core/Thread.h"
#include "zel/foundation/EventSource.h"

namespace zel {

// A repeating tick. Its thread only counts time; at each tick it posts a command, and the sinks of
// GetEvent are called on the processor's thread. So a slow sink doesn't disturb the schedule.
//
//     RCPtr<TimerThread> timer(new TimerThread(processor, 0.5, 1, TimerThread::FOREVER));
//     timer->GetEvent().Connect([](TimerThread* const&) { ... });
//     timer->Start();
//     ...
//     timer->RequestStop();
//     timer->Join();
//
// A tick that is late shortens the interval to the next one, so the rate is kept on average; but an
// interval is never shorter than 10 milliseconds, and lateness beyond that isn't made up. The
// thread looks at the clock without sleeping for the last millisecond or so before each tick, and
// notices a stop within 100 milliseconds. It ends by itself after its last tick, and at the first
// tick that finds the processor gone.
class ZEL_ADVANCED_API TimerThread : public Thread {
public:
    // The `repeatCount` of a timer that ticks until it is stopped.
    static constexpr int FOREVER = -1;

    // `period` is in seconds; 0, a negative one or a NaN gives a tick about every 10 milliseconds,
    // the first at once. `pendingLimit` is how many ticks may be in flight, posted and not done; a
    // tick due beyond it is dropped and isn't counted. The thread ends after `repeatCount` ticks.
    // The processor is not kept alive.
    TimerThread(WeakPtr<CommandProcessor> processor, double period, int pendingLimit,
                int repeatCount);

    // The owner has asked the thread to stop and has seen that it did.
    ~TimerThread() override;

    // The thread's body; Start calls it.
    void Run() override;

    // One tick, on the processor's thread: fires the event. An Exception from a sink is logged at
    // level 3, and the sinks behind that one miss the tick. Any other exception passes to the
    // processor, and its tick counts as in flight for good. The argument means nothing.
    void OnTimerImp(int);

    // Fired for each tick with this timer. Sinks may come and go at any time.
    EventSource<TimerThread*>& GetEvent() noexcept { return m_event; }

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
    CriticalSection m_cs;
};

extern template class ZEL_ADVANCED_API
    AsyncCommandForRCObject<TimerThread, void (TimerThread::*)(int), int>;

}  // namespace zel
