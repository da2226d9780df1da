#pragma once

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
        return GetSleep(m_nextDue);
    }

private:
    static constexpr double SHARE_OF_REST = 0.9;
    static constexpr int LONGEST_SLEEP = 100;
    static constexpr double SHORTEST_INTERVAL = 0.01;

    double m_period;
    double m_nextDue;
};

}  // namespace zel
