#include "zel/commands/TimerThread.h"

#include "zel/commands/TickSchedule.h"
#include "zel/core/Timer.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <tuple>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;

TEST(TickScheduleTest, TakesTheLatenessOffTheNextInterval) {
    const std::tuple<double, double, double, int> rows[] = {
        {0.5, 0.03, 0.47, 100}, {0.05, 0, 0.05, 45}, {0.03125, 0, 0.03125, 28},
        {0.5, 0.495, 0.01, 9},  {0.5, 5, 0.01, 9},   {0, 0.001, 0.01, 9},
        {-1e300, 0, 0.01, 9},   {NAN, 0, 0.01, 9},   {INFINITY, 0, INFINITY, 100},
    };
    for (const auto& [period, late, interval, sleep] : rows) {
        TickSchedule schedule(period);
        EXPECT_EQ(schedule.BeginNext(-late), sleep) << period << ' ' << late;
        EXPECT_DOUBLE_EQ(schedule.GetRemaining(0), interval) << period << ' ' << late;
    }
    EXPECT_FALSE(TickSchedule(NAN).GetRemaining(0) > 0) << "the first is due at once";
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
struct PatientProcessor : CommandProcessor {
    void PostCommand(RCPtr<Command> command) override {
        ++posts;
        last = std::move(command);
        posted.Set(true);
    }

    RCPtr<Command> Take() { return posted.Wait(LONG_ENOUGH) ? std::move(last) : nullptr; }
    bool GetsNone() { return !posted.Wait(40); }

    int posts = 0;
    RCPtr<Command> last;
    Event posted{Event::AutomaticReset};
};

TEST(TimerThreadTest, EndsAfterItsTicksNoneOfThemEarlyOrWithoutAProcessor) {
    const RCPtr<PatientProcessor> processor(new PatientProcessor);
    for (const int count : {0, 3}) {
        const Timer stopwatch;
        TimerThread(processor, 0.02, 3, count).Run();
        EXPECT_GE(stopwatch.GetElapsedTime(), count * 0.02);
        EXPECT_EQ(processor->posts, count);
    }
    TimerThread(nullptr, 0, 1, TimerThread::FOREVER).Run();
}

TEST(TimerThreadTest, PostsATickOnceTheOneInFlightIsDoneAndCountsNoneThatIsDropped) {
    const test::ScopedLogger log;
    const RCPtr<PatientProcessor> processor(new PatientProcessor);
    const RCPtr<TimerThread> timer(new TimerThread(processor, 0, 1, 3));
    std::string calls;
    const auto connect = [&](auto sink) { timer->GetEvent().Connect(sink); };
    connect([&](TimerThread* fired) { calls += fired == timer.Get() ? "sink " : "stranger "; });
    connect([&](TimerThread*) {
        calls == "sink " ? throw Exception("SomeEx", "x", "Some", 7) : throw 1;
    });
    connect([&](TimerThread*) { calls += "never "; });
    timer->Start();
    const RCPtr<Command> tick = processor->Take();
    EXPECT_TRUE(processor->GetsNone());
    EXPECT_EQ(calls, "");
    tick->Run();
    EXPECT_EQ(log.sink->TakeText(),
              "\n3 CommandProcessor Timer event handler got exception. SomeEx: x (Some:7)");
    EXPECT_THROW(processor->Take()->Run(), int);
    EXPECT_TRUE(processor->GetsNone()) << "a foreign exception holds its place";
    EXPECT_EQ(calls, "sink sink ");

    const RCPtr<TimerThread> endless(new TimerThread(processor, 0, 1, TimerThread::FOREVER));
    endless->Start();
    EXPECT_TRUE(processor->Take());
    for (TimerThread* thread : {timer.Get(), endless.Get()}) {
        thread->RequestStop();
        thread->Join();
    }
}

}  // namespace
}  // namespace zel
