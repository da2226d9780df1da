#include "zel/commands/TimerEventThread.h"

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

}  // namespace

TimerEventThread::TimerEventThread()
    : Thread("TimerEvent"), m_wakeEvent(new Event(Event::AutomaticReset)), m_wakeTime(AT_ONCE) {}

TimerEventThread::~TimerEventThread() = default;

void TimerEventThread::AddTimer(RCPtr<TimerEventSource> source) {
    if (!source) {
        Throw<Exception>(s_log, "A null timer can't be armed.");
    }
    CriticalSectionLock lock(&m_cs);
    const auto [place, isNew] = m_sources.insert(std::move(source));
    if (isNew && (*place)->GetDueTime() < m_wakeTime) {
        Wake();
    }
}

void TimerEventThread::DeleteTimer(TimerEventSource* source) {
    CriticalSectionLock lock(&m_cs);
    RCPtr<TimerEventSource> held(source);
    if (m_sources.erase(held) == 0) {
        return;
    }
    const bool wasNearest = held->GetDueTime() <= m_wakeTime;
    held = nullptr;
    if (wasNearest) {
        Wake();
    }
}

int TimerEventThread::GetAmountToWait() {
    CriticalSectionLock lock(&m_cs);
    return m_sources.empty() ? -1 : ToWaitTime(GetNearestDueTime() - Timer::GetTime());
}

void TimerEventThread::FireEvents() {
    const std::vector<RCPtr<TimerEventSource>> due = CollectDue();
    for (const RCPtr<TimerEventSource>& source : due) {
        source->Fire();
        DeleteTimer(source.Get());
    }
}

void TimerEventThread::Run() {
    constexpr int stop = 1;
    const std::vector<RCPtr<Event>> events = {m_wakeEvent, m_stopEvent};
    BePunctual();
    while (!ShouldStop()) {
        if (Event::WaitMultiple(events, false, BeginWait()) == stop) {
            return;
        }
        if (EndWait()) {
            FireEvents();
        }
    }
}

double TimerEventThread::GetNearestDueTime() const noexcept {
    double nearest = NEVER;
    for (const RCPtr<TimerEventSource>& source : m_sources) {
        nearest = std::min(nearest, source->GetDueTime());
    }
    return nearest;
}

std::vector<RCPtr<TimerEventSource>> TimerEventThread::CollectDue() {
    std::vector<RCPtr<TimerEventSource>> due;
    CriticalSectionLock lock(&m_cs);
    const double now = Timer::GetTime();
    for (const RCPtr<TimerEventSource>& source : m_sources) {
        if (source->GetDueTime() <= now) {
            due.push_back(source);
        }
    }
    return due;
}

// The event stays set until the thread sees it, so one signal covers all changes until then.
void TimerEventThread::Wake() {
    m_wakeTime = AT_ONCE;
    m_wakeEvent->Set(true);
}

// Returns the milliseconds to wait. Timers are examined only when the stored wake time has been
// reached: a long wait is made of several, and most end before it.
int TimerEventThread::BeginWait() noexcept {
    CriticalSectionLock lock(&m_cs);
    if (m_wakeTime <= Timer::GetTime()) {
        m_wakeTime = GetNearestDueTime();
    }
    return m_wakeTime == NEVER ? -1 : ToWaitTime(m_wakeTime - Timer::GetTime());
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
