#pragma once

namespace zel {

// The arithmetic of a repeating tick: when it is due, and how long to sleep on the way there. It
// reads no clock; times are seconds by a stopwatch that is restarted after each tick.
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

    // Seconds until the next tick is due; it is, unless this is above 0.
    double GetRemaining(double elapsed) const noexcept { return m_nextDue - elapsed; }

    // Milliseconds to sleep when so many seconds remain: short of them, so that a late wake-up
    // still comes in time, and short enough to notice a stop soon.
    static int GetSleep(double remaining) noexcept {
        const double milliseconds = remaining * 1000 * SHARE_OF_REST;
        return milliseconds < LONGEST_SLEEP ? static_cast<int>(milliseconds) : LONGEST_SLEEP;
    }

    // To be called for a tick with the `remaining` at which it was seen due: the lateness comes off
    // the next interval, but ticks missed by more than that aren't made up. Gives the milliseconds
    // to sleep.
    int BeginNext(double remaining) noexcept {
        const double next = remaining + m_period;
        m_nextDue = next >= SHORTEST_INTERVAL ? next : SHORTEST_INTERVAL;  // so for a NaN
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
