#include "zel/commands/TimerEventThread.h"

#include "zel/commands/TimerQueue.h"
#include "zel/commands/WaitTime.h"
#include "zel/foundation/Log.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("TimerEventThread", -1);

// Special values of the wake time.
constexpr double NEVER = std::numeric_limits<double>::infinity();
constexpr double AT_ONCE = -NEVER;

// Waits for events until a moment, which it doesn't miss by the usual delay of a wait: it wakes so
// much earlier and polls the clock. After a short wait that would take most of the processor's
// time, so timers that are so close fire together; a coarse wait would miss the moment by too much,
// though.
class PreciseWait {
public:
    explicit PreciseWait(double usualDelay) noexcept
        : m_early(usualDelay), m_shortest(usualDelay < LONG ? LONG : 0) {}

    // Returns the index of the event that is set, or -1.
    int WaitUntil(const std::vector<RCPtr<Event>>& events, double time) const {
        const double left = time - Timer::GetTime();
        if (left > m_shortest) {
            const int seen = Event::WaitMultipleUntil(events, false, time - m_early);
            if (seen >= 0 || time == NEVER) {
                return seen;
            }
            Poll(time);
            time = 0;
        }
        return Event::WaitMultipleUntil(events, false, time);
    }

private:
    static constexpr double LONG = 1e-3;
    static constexpr double LONGEST_POLL = 200e-6;  // seconds without a look at the events

    static void Poll(double time) noexcept {
        const double end = std::min(time, Timer::GetTime() + LONGEST_POLL);
        while (Timer::GetTime() < end) {
        }
    }

    const double m_early;
    const double m_shortest;
};

}  // namespace

TimerEventThread::TimerEventThread()
    : Thread("TimerEvent"),
      m_sources(new TimerQueue),
      m_wakeEvent(new Event(Event::AutomaticReset)),
      m_wakeTime(AT_ONCE) {}

TimerEventThread::~TimerEventThread() = default;

void TimerEventThread::AddTimer(RCPtr<TimerEventSource> source) {
    if (!source) {
        Throw<Exception>(s_log, "A null timer can't be armed.");
    }
    TimerEventSource& added = *source;
    CriticalSectionLock lock(&m_cs);
    if (m_sources->Add(std::move(source)) && added.GetDueTime() < m_wakeTime) {
        Wake();
    }
}

void TimerEventThread::DeleteTimer(TimerEventSource* source) {
    CriticalSectionLock lock(&m_cs);
    RCPtr<TimerEventSource> removed = m_sources->Remove(source);
    if (!removed) {
        return;
    }
    const bool wasNearest = removed->GetDueTime() <= m_wakeTime;
    removed = nullptr;
    if (wasNearest) {
        Wake();
    }
}

int TimerEventThread::GetAmountToWait() {
    CriticalSectionLock lock(&m_cs);
    return m_sources->IsEmpty() ? -1
                                : ToWaitTime(m_sources->GetNearestDueTime() - Timer::GetTime());
}

void TimerEventThread::FireEvents() {
    const std::vector<RCPtr<TimerEventSource>> due = CollectDue();
    for (const RCPtr<TimerEventSource>& source : due) {
        source->Fire();
        EndFiring(*source);
    }
}

void TimerEventThread::Run() {
    constexpr int stop = 1;
    const std::vector<RCPtr<Event>> events = {m_wakeEvent, m_stopEvent};
    const PreciseWait wait(BePunctual());
    while (!ShouldStop()) {
        if (wait.WaitUntil(events, BeginWait()) == stop) {
            return;
        }
        if (EndWait()) {
            FireEvents();
        }
    }
}

std::vector<RCPtr<TimerEventSource>> TimerEventThread::CollectDue() {
    CriticalSectionLock lock(&m_cs);
    return m_sources->CollectDue(Timer::GetTime());
}

void TimerEventThread::EndFiring(TimerEventSource& source) {
    if (source.IsRepeating()) {
        source.Advance(Timer::GetTime());
    } else {
        DeleteTimer(&source);
    }
}

// The event stays set until the thread sees it, so one signal covers all changes until then.
void TimerEventThread::Wake() {
    m_wakeTime = AT_ONCE;
    m_wakeEvent->Set(true);
}

// Returns until when to wait. Timers are examined only when the stored wake time has been reached.
double TimerEventThread::BeginWait() noexcept {
    CriticalSectionLock lock(&m_cs);
    if (m_wakeTime <= Timer::GetTime()) {
        m_wakeTime = m_sources->GetNearestDueTime();
    }
    return m_wakeTime;
}

// Returns true if timers may be due. The thread is about to examine them in that case, so changes
// made until then needn't wake it.
bool TimerEventThread::EndWait() noexcept {
    CriticalSectionLock lock(&m_cs);
    if (m_wakeTime > Timer::GetTime()) {
        return false;
    }
    m_wakeTime = AT_ONCE;
    return true;
}

}  // namespace zel
