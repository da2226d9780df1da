#pragma once

#include "zel/commands/TimerEventSource.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace zel {

// The armed timers of a thread, each once, found by identity and by due time. Not thread-safe.
//
// The order by due time is a heap whose entries are changed only when they reach its top. An entry
// may be too early, as a timer is restarted by its owner, which makes it due later, and it may
// belong to a timer that was removed.
class TimerQueue {
public:
    using Timers = std::vector<RCPtr<TimerEventSource>>;

    // Returns whether the timer was added: not if it is in the queue.
    bool Add(RCPtr<TimerEventSource> timer);

    // Removes a timer and returns it; null if it isn't in the queue.
    RCPtr<TimerEventSource> Remove(TimerEventSource* timer) noexcept;

    bool Contains(TimerEventSource* timer) const noexcept { return m_timers.contains(timer); }
    bool IsEmpty() const noexcept { return m_timers.empty(); }

    // Returns when the nearest timer is due, or infinity.
    double GetNearestDueTime() noexcept;

    // Returns the timers that are due at the time `now`, in the order of their addresses. They
    // remain in the queue.
    Timers CollectDue(double now) const;

private:
    // The number distinguishes a timer from a removed one that had the same address.
    struct Timer {
        RCPtr<TimerEventSource> source;
        std::uint64_t number;
    };
    struct Entry {
        double dueTime;
        TimerEventSource* source;
        std::uint64_t number;
    };

    static bool IsLater(const Entry& a, const Entry& b) noexcept { return a.dueTime > b.dueTime; }
    bool IsCurrent(const Entry& entry) const noexcept;
    void ReserveEntry();
    void PopEntry() noexcept;
    void RemoveStaleEntries() noexcept;
    void CollectFrom(std::size_t place, double now, Timers& due) const;

    std::unordered_map<TimerEventSource*, Timer> m_timers;
    std::vector<Entry> m_entries;
    std::uint64_t m_lastNumber = 0;
};

}  // namespace zel
