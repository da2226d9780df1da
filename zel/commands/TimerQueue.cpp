#include "zel/commands/TimerQueue.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace zel {

bool TimerQueue::Add(RCPtr<TimerEventSource> timer) {
    ReserveEntry();
    TimerEventSource* const source = timer.Get();
    const auto [place, isNew] = m_timers.try_emplace(source, Timer{std::move(timer), 0});
    if (isNew) {
        place->second.number = ++m_lastNumber;
        m_entries.push_back({source->GetDueTime(), source, m_lastNumber});
        std::push_heap(m_entries.begin(), m_entries.end(), IsLater);
    }
    return isNew;
}

RCPtr<TimerEventSource> TimerQueue::Remove(TimerEventSource* timer) noexcept {
    const auto found = m_timers.find(timer);
    if (found == m_timers.end()) {
        return nullptr;
    }
    RCPtr<TimerEventSource> removed = std::move(found->second.source);
    m_timers.erase(found);
    RemoveStaleEntries();
    return removed;
}

double TimerQueue::GetNearestDueTime() noexcept {
    while (!m_entries.empty()) {
        const Entry nearest = m_entries.front();
        if (!IsCurrent(nearest)) {
            PopEntry();
            continue;
        }
        const double dueTime = nearest.source->GetDueTime();
        if (dueTime <= nearest.dueTime) {
            return dueTime;
        }
        PopEntry();
        m_entries.push_back({dueTime, nearest.source, nearest.number});
        std::push_heap(m_entries.begin(), m_entries.end(), IsLater);
    }
    return std::numeric_limits<double>::infinity();
}

TimerQueue::Timers TimerQueue::CollectDue(double now) const {
    Timers due;
    CollectFrom(0, now, due);
    std::sort(due.begin(), due.end());
    return due;
}

bool TimerQueue::IsCurrent(const Entry& entry) const noexcept {
    const auto found = m_timers.find(entry.source);
    return found != m_timers.end() && found->second.number == entry.number;
}

// Doubles the capacity, as a vector does that grows by itself.
void TimerQueue::ReserveEntry() {
    if (m_entries.size() == m_entries.capacity()) {
        m_entries.reserve(2 * m_entries.size() + 8);
    }
}

void TimerQueue::PopEntry() noexcept {
    std::pop_heap(m_entries.begin(), m_entries.end(), IsLater);
    m_entries.pop_back();
}

// Removes them all at once when they are most of the entries, which takes less than one by one.
void TimerQueue::RemoveStaleEntries() noexcept {
    constexpr std::size_t fewEntries = 64;
    if (m_timers.empty()) {
        m_entries.clear();
    } else if (m_entries.size() > 2 * m_timers.size() + fewEntries) {
        std::erase_if(m_entries, [this](const Entry& entry) { return !IsCurrent(entry); });
        std::make_heap(m_entries.begin(), m_entries.end(), IsLater);
    }
}

// An entry is never later than those below it, and no timer is due before its entry.
void TimerQueue::CollectFrom(std::size_t place, double now, Timers& due) const {
    if (place >= m_entries.size() || !(m_entries[place].dueTime <= now)) {
        return;
    }
    const Entry& entry = m_entries[place];
    if (IsCurrent(entry) && entry.source->GetDueTime() <= now) {
        due.emplace_back(entry.source);
    }
    CollectFrom(2 * place + 1, now, due);
    CollectFrom(2 * place + 2, now, due);
}

}  // namespace zel
