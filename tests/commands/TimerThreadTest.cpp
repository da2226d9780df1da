#include "zel/commands/TimerThread.h"

#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TickSchedule.h"
#include "zel/core/Timer.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST(TickScheduleTest, TakesTheLatenessOffTheNextInterval) {
    const struct {
        double period, late;
        double interval;
        int sleep;
    } rows[] = {
        {0.5, 0, 0.5, 100},           {0.5, 0.03, 0.47, 100},
        {0.05, 0, 0.05, 45},          {0.5, 0.484375, 0.015625, 14},
        {0.5, 0.495, 0.01, 9},        {0.5, 5, 0.01, 9},
        {0, 0.001, 0.01, 9},          {-3, 0, 0.01, 9},
        {1e300, 0, 1e300, 100},       {-1e300, 0, 0.01, 9},
        {INFINITE, 0, INFINITE, 100}, {NOT_A_NUMBER, 0, 0.01, 9},
    };
    for (const auto& row : rows) {
        TickSchedule schedule(row.period);
        EXPECT_EQ(schedule.BeginNext(-row.late), row.sleep) << row.period << ' ' << row.late;
        EXPECT_DOUBLE_EQ(schedule.GetRemaining(0), row.interval) << row.period << ' ' << row.late;
    }
    EXPECT_FALSE(TickSchedule(NOT_A_NUMBER).GetRemaining(0) > 0) << "the first is due at once";
}

TEST(TickScheduleTest, ClosesOnTheDueMomentInShrinkingSteps) {
    const struct {
        double remaining;
        int sleep;
    } rows[] = {{300, 100}, {0.1112, 100}, {0.05, 45}, {0.005, 4}, {0.001, 0}, {1e-9, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(TickSchedule::GetSleep(row.remaining), row.sleep) << row.remaining;
    }
}

TEST(TickScheduleTest, KeepsTheRateOverAnHourOfRandomLateness) {
    constexpr double period = 0.25;
    constexpr double hour = 3600;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> lateness(0, 0.2);
    TickSchedule schedule(period);
    double clock = 0;
    double started = 0;
    int ticks = 0;
    while (clock < hour) {
        const double remaining = schedule.GetRemaining(clock - started);
        if (remaining > 0) {
            // A sleep of 0 is a look at the clock that takes a while.
            const double slept = TickSchedule::GetSleep(remaining) / 1000.0;
            clock += slept > 0 ? slept + lateness(random) / 2 : 1e-5;
            continue;
        }
        ++ticks;
        started = clock;
        clock += schedule.BeginNext(remaining) / 1000.0 + lateness(random) / 2;
    }
    EXPECT_NEAR(ticks, hour / period, 1);
}

// Keeps what is posted until the test asks for it.
class PatientProcessor : public CommandProcessor {
public:
    void PostCommand(RCPtr<Command> command) override {
        CriticalSectionLock lock(&m_cs);
        m_commands.push_back(std::move(command));
        m_posted.Set(true);
    }

    // The next command, null if none comes in time.
    RCPtr<Command> Take(int milliseconds = LONG_ENOUGH) {
        do {
            CriticalSectionLock lock(&m_cs);
            if (!m_commands.empty()) {
                RCPtr<Command> first = m_commands.front();
                m_commands.erase(m_commands.begin());
                return first;
            }
        } while (m_posted.Wait(milliseconds));
        return nullptr;
    }

private:
    CriticalSection m_cs;
    std::vector<RCPtr<Command>> m_commands;
    Event m_posted{Event::AutomaticReset};
};

class TimerThreadTest : public testing::Test {
protected:
    ~TimerThreadTest() override {
        if (m_timer) {
            m_timer->RequestStop();
            m_timer->Join();
        }
    }

    void Start(double period, int pendingLimit, int repeatCount) {
        m_timer = new TimerThread(m_processor, period, pendingLimit, repeatCount);
        m_timer->Start();
    }

    const test::ScopedLogger m_log;
    RCPtr<PatientProcessor> m_processor{new PatientProcessor};
    RCPtr<TimerThread> m_timer;
};

TEST_F(TimerThreadTest, TicksAsOftenAsItIsToldAndEnds) {
    for (const int count : {0, 3}) {
        Start(0.001, 10, count);
        m_timer->Join();
        for (int i = 0; i < count; ++i) {
            EXPECT_TRUE(m_processor->Take(0)) << count;
        }
        EXPECT_FALSE(m_processor->Take(0)) << count;
    }
}

TEST_F(TimerThreadTest, ATickLeadsThroughProcessorAndCommandToTheSinks) {
    std::vector<std::string> stations;
    const auto thread = std::this_thread::get_id();
    class Road : public CommandProcessor {
    public:
        explicit Road(std::vector<std::string>& stations) : m_stations(stations) {}
        void PostCommand(RCPtr<Command> command) override {
            m_stations.push_back("posted by the timer's thread");
            m_command = command;
        }
        RCPtr<Command> m_command;

    private:
        std::vector<std::string>& m_stations;
    };
    const RCPtr<Road> road(new Road(stations));
    m_timer = new TimerThread(road, 0.01, 1, 1);
    m_timer->GetEvent().Connect([&](TimerThread* const& source) {
        EXPECT_EQ(source, m_timer.Get());
        EXPECT_EQ(std::this_thread::get_id(), thread);
        stations.push_back("first sink on the processor's thread");
    });
    m_timer->GetEvent().Connect([&](TimerThread* const&) { stations.push_back("second sink"); });
    m_timer->Start();
    m_timer->Join();
    stations.push_back("run by the processor");
    road->m_command->Run();
    stations.push_back("done");
    const std::vector<std::string> expected = {
        "posted by the timer's thread", "run by the processor",
        "first sink on the processor's thread", "second sink", "done"};
    EXPECT_EQ(stations, expected);
}

TEST_F(TimerThreadTest, DropsTicksAtThePendingLimitAndGoesOnAfterwards) {
    Start(0, 0, TimerThread::FOREVER);
    EXPECT_FALSE(m_processor->Take(50));
    m_timer->RequestStop();
    m_timer->Join();

    Start(0, 1, 2);
    const RCPtr<Command> first = m_processor->Take();
    EXPECT_FALSE(m_processor->Take(50));
    first->Run();
    EXPECT_TRUE(m_processor->Take()) << "dropped ticks don't count";
    m_timer->Join();
}

TEST_F(TimerThreadTest, AnExceptionOfASinkEndsItsTickAndOneOfForeignTypeBlocksItsPlace) {
    Start(0, 1, TimerThread::FOREVER);
    bool isForeign = false;
    m_timer->GetEvent().Connect([&](TimerThread* const&) {
        if (isForeign) {
            throw 1;
        }
        throw Exception("SomeEx", "sink", "Some", 7);
    });
    m_processor->Take()->Run();
    EXPECT_EQ(m_log.sink->TakeLines(),
              std::vector<std::string>{"3 CommandProcessor Timer event handler got exception. "
                                       "SomeEx: sink (Some:7)"});
    isForeign = true;
    const RCPtr<Command> second = m_processor->Take();
    EXPECT_THROW(second->Run(), int);
    EXPECT_FALSE(m_processor->Take(50));
}

TEST_F(TimerThreadTest, ATickInFlightHoldsNeitherTimerNorProcessor) {
    Start(0, 2, 1);
    m_timer->Join();
    const RCPtr<Command> tick = m_processor->Take();
    m_timer->GetEvent().Connect([&](TimerThread* const&) { m_timer = nullptr; });
    const WeakPtr<TimerThread> weak(m_timer);
    tick->Run();
    EXPECT_FALSE(weak.GetRCPtr());
    tick->Run();

    const RCPtr<PatientProcessor> gone = std::exchange(m_processor, nullptr);
    Start(0, 1, TimerThread::FOREVER);
    m_timer->Join();
    EXPECT_EQ(m_log.sink->TakeLines(), std::vector<std::string>());
}

TEST_F(TimerThreadTest, NoticesAStopLongBeforeTheNextTick) {
    for (const double period : {300.0, INFINITE}) {
        Start(period, 1, TimerThread::FOREVER);
        const Timer timer;
        m_timer->RequestStop();
        m_timer->Join();
        EXPECT_LT(timer.GetElapsedTime(), LONG_ENOUGH / 1000);
    }
}

}  // namespace
}  // namespace zel
