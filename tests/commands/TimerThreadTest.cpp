#include "zel/commands/TimerThread.h"

#include "zel/commands/TickSchedule.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <tuple>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST(TickScheduleTest, TakesTheLatenessOffTheNextInterval) {
    const std::tuple<double, double, double, int> rows[] = {
        {0.5, 0, 0.5, 100},           {0.5, 0.03, 0.47, 100},
        {0.05, 0, 0.05, 45},          {0.03125, 0, 0.03125, 28},
        {0.5, 0.495, 0.01, 9},        {0.5, 5, 0.01, 9},
        {0, 0.001, 0.01, 9},          {-3, 0, 0.01, 9},
        {1e300, 0, 1e300, 100},       {-1e300, 0, 0.01, 9},
        {INFINITE, 0, INFINITE, 100}, {NOT_A_NUMBER, 0, 0.01, 9},
    };
    for (const auto& [period, late, interval, sleep] : rows) {
        TickSchedule schedule(period);
        EXPECT_EQ(schedule.BeginNext(-late), sleep) << period << ' ' << late;
        EXPECT_DOUBLE_EQ(schedule.GetRemaining(0), interval) << period << ' ' << late;
    }
    EXPECT_FALSE(TickSchedule(NOT_A_NUMBER).GetRemaining(0) > 0) << "the first is due at once";
    EXPECT_EQ(TickSchedule::GetSleep(0.005), 4);
    EXPECT_EQ(TickSchedule::GetSleep(0.001), 0);
}

TEST(TickScheduleTest, KeepsTheRateOverAnHourOfRandomLateness) {
    constexpr double period = 0.25;
    constexpr double hour = 3600;
    constexpr double look = 1e-5;  // what a sleep of 0 takes
    std::mt19937 random(1);
    std::uniform_real_distribution<double> lateness(look, 0.1);
    TickSchedule schedule(period);
    int ticks = 0;
    double started = 0;
    for (double clock = 0; clock < hour;) {
        const double remaining = schedule.GetRemaining(clock - started);
        int sleep = TickSchedule::GetSleep(remaining);
        if (remaining <= 0) {
            ++ticks;
            started = clock;
            sleep = schedule.BeginNext(remaining);
        }
        clock += sleep > 0 ? sleep / 1000.0 + lateness(random) : look;
    }
    EXPECT_NEAR(ticks, hour / period, 1);
}

// Keeps the command posted last until the test asks for it.
class PatientProcessor : public CommandProcessor {
public:
    void PostCommand(RCPtr<Command> command) override {
        road += "posted ";
        m_command = std::move(command);
        m_posted.Set(true);
    }

    RCPtr<Command> Take(int milliseconds = LONG_ENOUGH) {
        return m_posted.Wait(milliseconds) ? std::exchange(m_command, nullptr) : nullptr;
    }

    std::string road;  // what a tick came past

private:
    RCPtr<Command> m_command;
    Event m_posted{Event::AutomaticReset};
};

class TimerThreadTest : public testing::Test {
protected:
    static constexpr int A_FEW_TICKS = 40;

    ~TimerThreadTest() override { Stop(); }

    void Start(double period, int pendingLimit, int repeatCount) {
        m_timer = new TimerThread(m_processor, period, pendingLimit, repeatCount);
        m_timer->Start();
    }

    void Stop() {
        m_timer->RequestStop();
        m_timer->Join();
    }

    const test::ScopedLogger m_log;
    RCPtr<PatientProcessor> m_processor{new PatientProcessor};
    RCPtr<TimerThread> m_timer;
};

TEST_F(TimerThreadTest, ATickGoesFromTheTimerOverTheProcessorToTheSinks) {
    Start(0.01, 1, 1);
    std::string& road = m_processor->road;
    m_timer->GetEvent().Connect([&](TimerThread* const& timer) {
        road += timer == m_timer.Get() ? "first sink, " : "stranger, ";
    });
    m_timer->GetEvent().Connect([&](TimerThread* const&) { road += "second sink, "; });
    const RCPtr<Command> tick = m_processor->Take();
    road += "run, ";
    tick->Run();
    EXPECT_EQ(road + "done", "posted run, first sink, second sink, done");
}

TEST_F(TimerThreadTest, EndsAfterItsTicksOrWithoutAProcessor) {
    for (const int count : {0, 3, 0}) {
        Start(0, 3, count);
        m_timer->Join();
    }
    EXPECT_EQ(m_processor->road, "posted posted posted ");
    m_processor = nullptr;
    Start(0, 1, TimerThread::FOREVER);
    m_timer->Join();
    EXPECT_EQ(m_log.sink->TakeText(), "");
}

TEST_F(TimerThreadTest, DropsTicksAtThePendingLimitWithoutCountingThem) {
    Start(0, 0, TimerThread::FOREVER);
    EXPECT_FALSE(m_processor->Take(A_FEW_TICKS));
    Stop();
    Start(0, 1, 2);
    const RCPtr<Command> first = m_processor->Take();
    EXPECT_FALSE(m_processor->Take(A_FEW_TICKS));
    first->Run();
    EXPECT_TRUE(m_processor->Take());
}

TEST_F(TimerThreadTest, AnExceptionOfASinkEndsItsTickAndOneOfForeignTypeBlocksItsPlace) {
    Start(0, 1, TimerThread::FOREVER);
    bool isForeign = false;
    m_timer->GetEvent().Connect([&](TimerThread* const&) {
        isForeign ? throw 1 : throw Exception("SomeEx", "sink", "Some", 7);
    });
    m_processor->Take()->Run();
    EXPECT_EQ(m_log.sink->TakeText(),
              "\n3 CommandProcessor Timer event handler got exception. SomeEx: sink (Some:7)");
    isForeign = true;
    EXPECT_THROW(m_processor->Take()->Run(), int);
    EXPECT_FALSE(m_processor->Take(A_FEW_TICKS));
}

}  // namespace
}  // namespace zel
