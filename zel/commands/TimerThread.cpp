#include "zel/commands/TimerThread.h"

#include "zel/commands/TickSchedule.h"
#include "zel/core/Timer.h"
#include "zel/foundation/Log.h"

#include <utility>

namespace zel {

// Defined here too, as a DLL exports only what it defines outside a class.
constexpr int TimerThread::FOREVER;

namespace {

const LogArea s_log("CommandProcessor", -1);

using TickCommand = AsyncCommandForRCObject<TimerThread, void (TimerThread::*)(int), int>;

}  // namespace

template class AsyncCommandForRCObject<TimerThread, void (TimerThread::*)(int), int>;

TimerThread::TimerThread(WeakPtr<CommandProcessor> processor, double period, int pendingLimit,
                         int repeatCount)
    : Thread("Timer"),
      m_processor(std::move(processor)),
      m_period(period),
      m_repeatCount(repeatCount),
      m_pendingLimit(pendingLimit) {}

TimerThread::~TimerThread() = default;

void TimerThread::Run() {
    Timer stopwatch;
    TickSchedule schedule(m_period);
    while (!ShouldStop() && !IsComplete()) {
        const double remaining = schedule.GetRemaining(stopwatch.GetElapsedTime());
        if (remaining > 0) {
            SleepFor(TickSchedule::GetSleep(remaining));
            continue;
        }
        if (!BeginPending()) {
            ++m_missedTicks;
        } else if (!PostTick()) {
            return;
        }
        stopwatch.Start();
        const int sleep = schedule.BeginNext(remaining);
        m_missedTicks += schedule.TakeMissed();
        SleepFor(sleep);
    }
}

void TimerThread::OnTimerImp(int) {
    try {
        m_event.Fire(this);
    } catch (const Exception& exception) {
        Log(s_log, 3, "Timer event handler got exception. ", exception.AsStringEx());
    }
    EndPending();
}

bool TimerThread::IsComplete() const noexcept {
    return m_repeatCount != FOREVER && m_tickCount >= m_repeatCount;
}

bool TimerThread::BeginPending() noexcept {
    CriticalSectionLock lock(&m_cs);
    if (m_pendingCount >= m_pendingLimit) {
        return false;
    }
    ++m_pendingCount;
    return true;
}

void TimerThread::EndPending() noexcept {
    CriticalSectionLock lock(&m_cs);
    --m_pendingCount;
}

// Returns false if the processor no longer exists.
bool TimerThread::PostTick() {
    const RCPtr<CommandProcessor> processor = m_processor.GetRCPtr();
    if (!processor) {
        return false;
    }
    processor->PostCommand(new TickCommand(this, &TimerThread::OnTimerImp, 0));
    if (m_repeatCount != FOREVER) {  // an endless count would overflow
        ++m_tickCount;
    }
    return true;
}

}  // namespace zel
