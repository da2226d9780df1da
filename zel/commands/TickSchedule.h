#pragma once

#include <algorithm>
#include <cmath>

namespace zel {

// Computes when a repeating tick is due and how long to sleep until then. It reads no clock: times
// are seconds of a stopwatch that is restarted after each tick.
//
//     for (;;) {
//         const double remaining = schedule.GetRemaining(stopwatch.GetElapsedTime());
//         if (remaining > 0) {
//             sleep(TickSchedule::GetSleep(remaining));
//             continue;
//         }
//         ...
//         stopwatch.Start();
//         sleep(schedule.BeginNext(remaining));
//     }
class TickSchedule {
public:
    explicit TickSchedule(double period) noexcept : m_period(period), m_nextDue(period) {}

    // Returns the seconds until the next tick, which is due unless the result is positive.
    double GetRemaining(double elapsed) const noexcept { return m_nextDue - elapsed; }

    // Returns the milliseconds to sleep when `remaining` seconds are left: less than those, so that
    // a late wake-up is still in time, and at most 100, so that a stop is noticed.
    static int GetSleep(double remaining) noexcept {
        const double milliseconds = remaining * 1000 * SHARE_OF_REST;
        return milliseconds < LONGEST_SLEEP ? static_cast<int>(milliseconds) : LONGEST_SLEEP;
    }

    // Schedules the tick after one that was seen due with `remaining`, and returns the milliseconds
    // to sleep. The lateness is subtracted from the next interval; lateness of more than that is
    // not recovered.
    int BeginNext(double remaining) noexcept {
        const double next = remaining + m_period;
        m_nextDue = next >= SHORTEST_INTERVAL ? next : SHORTEST_INTERVAL;  // also for a NaN
        m_lost += m_period >= SHORTEST_INTERVAL ? m_nextDue - next : 0;
        return GetSleep(m_nextDue);
    }

    // Returns how many ticks were left out since the last call because earlier ones were late.
    int TakeMissed() noexcept {
        const double missed = std::min(std::floor(m_lost / m_period), MOST_MISSED);
        if (!(missed >= 1)) {
            return 0;
        }
        m_lost -= missed * m_period;
        return static_cast<int>(missed);
    }

private:
    static constexpr double SHARE_OF_REST = 0.9;
    static constexpr int LONGEST_SLEEP = 100;
    static constexpr double SHORTEST_INTERVAL = 0.01;
    static constexpr double MOST_MISSED = 1e9;

    double m_period;
    double m_nextDue;
    double m_lost = 0;  // lateness that isn't recovered
};

}  // namespace zel
