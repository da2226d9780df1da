#include "zel/commands/TimerThread.h"

#include "zel/commands/TickSchedule.h"
#include "zel/core/Timer.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace zel {
namespace {

constexpr int TIMEOUT = 20'000;

TEST(TickScheduleTest, SubtractsTheLatenessFromTheNextInterval) {
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

// Keeps the last posted command until the test takes it.
struct ManualProcessor : CommandProcessor {
    void PostCommand(RCPtr<Command> command) override {
        ++posts;
        last = std::move(command);
        posted.Set(true);
    }

    RCPtr<Command> Take() { return posted.Wait(TIMEOUT) ? std::move(last) : nullptr; }
    bool GetsNone() { return !posted.Wait(40); }

    int posts = 0;
    RCPtr<Command> last;
    Event posted{Event::AutomaticReset};
};

TEST(TimerThreadTest, ExitsAfterItsTicksOrWithoutAProcessorAndTicksNeverEarly) {
    const RCPtr<ManualProcessor> processor(new ManualProcessor);
    for (const int count : {0, 3}) {
        const Timer stopwatch;
        TimerThread(processor, 0.02, 3, count).Run();
        EXPECT_GE(stopwatch.GetElapsedTime(), count * 0.02);
        EXPECT_EQ(processor->posts, count);
    }
    TimerThread(nullptr, 0, 1, TimerThread::FOREVER).Run();
}

TEST(TimerThreadTest, PostsATickAfterTheOneInFlightIsDoneAndDoesNotCountDroppedTicks) {
    const test::ScopedLogger log;
    const RCPtr<ManualProcessor> processor(new ManualProcessor);
    const RCPtr<TimerThread> timer(new TimerThread(processor, 0, 1, 3));
    std::string calls;
    const auto connect = [&](auto sink) { timer->GetEvent().Connect(sink); };
    connect([&](TimerThread* fired) { calls += fired == timer.Get() ? "sink " : "other timer "; });
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
    EXPECT_TRUE(processor->GetsNone()) << "after an exception of another type it stays in flight";
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
