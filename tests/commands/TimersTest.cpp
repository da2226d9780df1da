#include "zel/commands/TickSchedule.h"
#include "zel/commands/TimerEventThread.h"
#include "zel/commands/TimerThread.h"
#include "zel/commands/WaitTime.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <random>
#include <tuple>

namespace zel {
namespace {

constexpr double FAR = 1000;
constexpr int TIMEOUT = 20'000;

TEST(TickScheduleTest, SubtractsTheLatenessFromTheNextInterval) {
    const std::tuple<double, double, double, int> rows[] = {
        {0.5, 0.03, 0.47, 100}, {0.05, 0, 0.05, 45}, {0.03125, 0, 0.03125, 28},
        {0.5, 0.495, 0.01, 9},  {NAN, 0, 0.01, 9},   {INFINITY, 0, INFINITY, 100},
    };
    for (const auto& [period, late, interval, sleep] : rows) {
        TickSchedule schedule(period);
        EXPECT_EQ(schedule.BeginNext(-late), sleep) << period << ' ' << late;
        EXPECT_DOUBLE_EQ(schedule.GetRemaining(0), interval) << period << ' ' << late;
    }
    EXPECT_EQ(TickSchedule::GetSleep(0.001), 0);
}

TEST(TickScheduleTest, CountsTheTicksThatLatenessLeavesOut) {
    const std::tuple<double, double, int> rows[] = {
        {0.5, 0.4, 0}, {0.5, 0.995, 1}, {0.5, 3.2, 5}, {0, 3, 0}, {INFINITY, 3, 0}};
    for (const auto& [period, late, missed] : rows) {
        TickSchedule schedule(period);
        schedule.BeginNext(-late);
        EXPECT_EQ(schedule.TakeMissed(), missed) << period << ' ' << late;
        EXPECT_EQ(schedule.TakeMissed(), 0);
    }
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
    EXPECT_GT(timer->GetMissedTicks(), 0);
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

TEST(WaitTimeTest, RoundsDownToMillisecondsThatFitAnInt) {
    EXPECT_EQ(ToWaitTime(0.0027), 2);
    EXPECT_EQ(ToWaitTime(2147483.6), 2147483600);
}

class TimerEventThreadTest : public testing::Test {
protected:
    ~TimerEventThreadTest() override {
        m_timers->RequestStop();
        m_timers->Join();
    }

    // Arms a timer that records its name.
    RCPtr<TimerEventSource> Add(
        double interval, char name, std::function<void()> work = [] {}) {
        const RCPtr<TimerEventSource> source(new CallbackTimer(interval, [=, this] {
            m_fired += name;
            work();
        }));
        m_timers->AddTimer(source);
        return source;
    }

    std::string FireEvents() {
        m_timers->FireEvents();
        return std::exchange(m_fired, {});
    }

    const RCPtr<TimerEventThread> m_timers{new TimerEventThread};
    std::string m_fired;
};

TEST_F(TimerEventThreadTest, FiresDueTimersOnceAndReportsTheNextWait) {
    EXPECT_EQ(m_timers->GetAmountToWait(), -1);
    Add(1e300, 'z');
    const RCPtr<TimerEventSource> next = Add(FAR, 'y');
    EXPECT_NEAR(m_timers->GetAmountToWait(), FAR * 1000, 20'000);
    EXPECT_EQ(FireEvents(), "");
    for (const double interval : {0.0, -1.0, static_cast<double>(NAN), 1e-9}) {
        m_timers->AddTimer(Add(interval, 'd'));
    }
    EXPECT_EQ(m_timers->GetAmountToWait(), 0);
    EXPECT_EQ(FireEvents(), "dddd");
    EXPECT_EQ(FireEvents(), "");
    m_timers->DeleteTimer(next.Get());
    m_timers->DeleteTimer(nullptr);
    EXPECT_EQ(m_timers->GetAmountToWait(), INT_MAX);
    const test::ScopedLogger log;
    EXPECT_THROW(m_timers->AddTimer(nullptr), Exception);
    EXPECT_THROW(CallbackTimer(1, nullptr), Exception);
    EXPECT_EQ(log.sink->TakeText(), R"(
2 TimerEventThread Exception of type Exception. A null timer can't be armed.
2 TimerEventSource Exception of type Exception. A timer needs a function to call.)");
}

TEST_F(TimerEventThreadTest, APassFiresWhatItFoundDueInAddressOrderUpToAnException) {
    RCPtr<TimerEventSource> a;
    RCPtr<TimerEventSource> b;
    a = Add(0, 'a', [&] {
        m_timers->DeleteTimer(b.Get());
        m_timers->AddTimer(a);
    });
    b = Add(0, 'b', [&] { Add(0, 'c'); });
    a->Restart();
    EXPECT_EQ(FireEvents(), a < b ? "ab" : "ba");
    EXPECT_EQ(FireEvents(), "c");
    Add(0, 'x', [] { throw 1; });
    Add(0, 'x', [] { throw 1; });
    for (const char* const fired : {"x", "xx"}) {
        EXPECT_THROW(m_timers->FireEvents(), int);
        EXPECT_EQ(m_fired, fired);
    }
    EXPECT_EQ(m_timers->GetAmountToWait(), 0);
}

TEST_F(TimerEventThreadTest, ARepeatingTimerKeepsToMultiplesOfItsIntervalUntilItIsDeleted) {
    constexpr double interval = 0.001;
    const auto work = [this] {
        m_fired += 'r';
        for (const Timer stopwatch; m_fired == "r" && stopwatch.GetElapsedTime() < 0.01;) {
        }
    };
    const RCPtr<RepeatingTimer> timer(new RepeatingTimer(interval, work));
    const double start = timer->GetDueTime() - interval;
    m_timers->AddTimer(timer);
    while (m_fired.size() < 20) {
        m_timers->FireEvents();
    }
    EXPECT_GE(timer->GetMissedTicks(), 9);
    const auto ticks = static_cast<double>(timer->GetMissedTicks() + 20);
    EXPECT_NEAR(timer->GetDueTime(), start + (ticks + 1) * interval, 1e-5);
    m_timers->DeleteTimer(timer.Get());
    EXPECT_EQ(m_timers->GetAmountToWait(), -1);
    const test::ScopedLogger log;
    EXPECT_THROW(RepeatingTimer(0, work), Exception);
}

TEST_F(TimerEventThreadTest, ATimerRestartedByItsWorkIsDueAnIntervalLater) {
    RCPtr<RepeatingTimer> timer;
    timer = new RepeatingTimer(0.02, [&] { timer->Restart(); });
    for (m_timers->AddTimer(timer); m_timers->GetAmountToWait() > 0;) {
    }
    while (timer->GetDueTime() - Timer::GetTime() <= 0) {
        m_timers->FireEvents();
    }
    EXPECT_LE(timer->GetDueTime() - Timer::GetTime(), 0.02);
}

TEST_F(TimerEventThreadTest, FindsTheNearestOfManyWhateverWasRestartedOrDeleted) {
    std::mt19937 random(1);
    std::vector<RCPtr<TimerEventSource>> armed;
    for (int i = 0; i < 5000; ++i) {
        if (random() % 2 == 0 || armed.empty()) {
            armed.push_back(
                Add(random() % 8 == 0 ? 0 : FAR * static_cast<double>(1 + random() % 100), 'd'));
        } else {
            const auto place = armed.begin() + static_cast<std::ptrdiff_t>(random() % armed.size());
            (*place)->Restart();
            m_timers->DeleteTimer(place->Get());
            random() % 2 == 0 ? m_timers->AddTimer(*place) : void(armed.erase(place));
        }
        if (i % 50 == 0) {
            const auto isDue = [](const auto& timer) {
                return timer->GetDueTime() <= Timer::GetTime();
            };
            const auto due = std::erase_if(armed, isDue);
            EXPECT_EQ(FireEvents().size(), due);
            double nearest = INFINITY;
            for (const auto& timer : armed) {
                nearest = std::min(nearest, timer->GetDueTime());
            }
            const double wait = 1000 * (nearest - Timer::GetTime());
            EXPECT_NEAR(m_timers->GetAmountToWait(), armed.empty() ? -1 : wait, 50);
        }
    }
}

TEST_F(TimerEventThreadTest, WakesForANearerTimerAndLeavesTheOthersArmed) {
    m_timers->Start();
    Add(FAR, 'f');
    for (int i = 0; i < 300; ++i) {
        const RCPtr<TimerEventSource> deleted = Add(0.0001 * (i % 20), 'p');
        deleted->Restart();
        m_timers->DeleteTimer(deleted.Get());
        const RCPtr<Event> fired(new Event(Event::ManualReset));
        Add(0.0001 * (i % 7), 'n', [=] { fired->Set(true); });
        ASSERT_TRUE(fired->Wait(TIMEOUT)) << i;
    }
    m_timers->RequestStop();
    m_timers->Join();
    EXPECT_GT(m_timers->GetAmountToWait(), 0);
}

void ArmChain(TimerEventThread* timers) {
    timers->AddTimer(new CallbackTimer(0, [timers] { ArmChain(timers); }));
}

TEST_F(TimerEventThreadTest, StopsWhileEachTimerArmsTheNext) {
    m_timers->Start();
    ArmChain(m_timers.Get());
}

}  // namespace
}  // namespace zel
