#include "zel/commands/TimerEventThread.h"

#include "zel/commands/WaitTime.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace zel {
namespace {

constexpr double FAR = 1000;
constexpr int TIMEOUT = 20'000;

TEST(WaitTimeTest, RoundsDownToMillisecondsThatFitAnInt) {
    const std::pair<double, int> rows[] = {
        {0.0027, 2},          {-1e300, 0}, {NAN, 0}, {INFINITY, INT_MAX}, {2147483.6, 2147483600},
        {2147483.7, INT_MAX},
    };
    for (const auto& [seconds, milliseconds] : rows) {
        EXPECT_EQ(ToWaitTime(seconds), milliseconds) << seconds;
    }
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
    EXPECT_EQ(m_timers->GetAmountToWait(), INT_MAX);
    const RCPtr<TimerEventSource> next = Add(FAR, 'y');
    EXPECT_NEAR(m_timers->GetAmountToWait(), FAR * 1000, 20'000);
    EXPECT_EQ(FireEvents(), "");
    for (const double interval : {0.0, -1.0, static_cast<double>(NAN), 1e-9}) {
        m_timers->AddTimer(Add(interval, 'd'));
    }
    EXPECT_EQ(m_timers->GetAmountToWait(), 0);
    EXPECT_EQ(FireEvents(), "dddd");
    EXPECT_EQ(FireEvents(), "");
    for (TimerEventSource* source :
         {next.Get(), next.Get(), static_cast<TimerEventSource*>(nullptr)}) {
        m_timers->DeleteTimer(source);
    }
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
