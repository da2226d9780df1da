#include "zel/commands/TimerEventThread.h"

#include "zel/commands/WaitTime.h"
#include "zel/core/Exception.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <map>
#include <thread>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;
constexpr double FAR = 1000;

TEST(WaitTimeTest, IsCutToWholeMillisecondsThatFit) {
    EXPECT_EQ(ToWaitTime(0.0027), 2);
    EXPECT_EQ(ToWaitTime(-1e300), 0);
    EXPECT_EQ(ToWaitTime(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(ToWaitTime(2147483.6), 2147483600);
    EXPECT_EQ(ToWaitTime(2147483.7), INT_MAX);
}

class TimerEventThreadTest : public testing::Test {
protected:
    ~TimerEventThreadTest() override {
        m_timers->RequestStop();
        m_timers->Join();
    }

    // Arms a timer that notes its name.
    RCPtr<TimerEventSource> Add(
        double interval, const std::string& name, std::function<void()> work = [] {}) {
        const RCPtr<TimerEventSource> source(new CallbackTimer(interval, [=, this] {
            m_fired += name;
            work();
        }));
        m_timers->AddTimer(source);
        return source;
    }

    std::string FireEvents() {
        m_fired.clear();
        m_timers->FireEvents();
        return m_fired;
    }

    const RCPtr<TimerEventThread> m_timers{new TimerEventThread};
    std::string m_fired;
};

TEST_F(TimerEventThreadTest, FiresWhatIsDueOnceInTheOrderOfTheAddresses) {
    EXPECT_EQ(m_timers->GetAmountToWait(), -1);
    Add(1e300, "far");
    EXPECT_EQ(m_timers->GetAmountToWait(), INT_MAX);
    const RCPtr<TimerEventSource> next = Add(FAR, "next");
    m_timers->AddTimer(next);
    EXPECT_NEAR(m_timers->GetAmountToWait(), FAR * 1000, LONG_ENOUGH);
    EXPECT_EQ(FireEvents(), "");

    std::map<RCPtr<TimerEventSource>, std::string> due;
    for (const std::string name : {"0", "-1", "nan", "1e-9"}) {
        due[Add(std::stod(name), name)] = name;
    }
    EXPECT_EQ(m_timers->GetAmountToWait(), 0);
    std::string expected;
    for (const auto& [source, name] : due) {
        expected += name;
    }
    EXPECT_EQ(FireEvents(), expected);
    EXPECT_EQ(FireEvents(), "");

    m_timers->DeleteTimer(next.Get());
    m_timers->DeleteTimer(next.Get());
    m_timers->DeleteTimer(nullptr);
    EXPECT_EQ(m_timers->GetAmountToWait(), INT_MAX);
    EXPECT_THROW(m_timers->AddTimer(nullptr), Exception);
    EXPECT_THROW(CallbackTimer(1, nullptr), Exception);
}

TEST_F(TimerEventThreadTest, APassGoesByWhatItFoundDueWhateverTheTimersDo) {
    RCPtr<TimerEventSource> a;
    RCPtr<TimerEventSource> b;
    a = Add(0, "a", [&] {
        m_timers->DeleteTimer(b.Get());
        m_timers->AddTimer(a);
    });
    b = Add(0, "b", [&] { Add(0, "new"); });
    FireEvents();
    EXPECT_EQ(m_fired, a < b ? "ab" : "ba");
    EXPECT_EQ(FireEvents(), "new");
    a->Restart();
    m_timers->AddTimer(a);
    EXPECT_EQ(FireEvents(), "a");
}

TEST_F(TimerEventThreadTest, AnExceptionLeavesItsTimerAndThoseBehindItArmed) {
    for (int i = 0; i < 3; ++i) {
        Add(0, "x", [] { throw 1; });
    }
    EXPECT_THROW(m_timers->FireEvents(), int);
    EXPECT_THROW(m_timers->FireEvents(), int);
    EXPECT_EQ(m_fired, "xx");
}

TEST_F(TimerEventThreadTest, WakesForANearerTimerAndLeavesTheOthersArmed) {
    m_timers->Start();
    Add(FAR, "far");
    for (const double interval : {0.02, 0.0, 0.001}) {
        const RCPtr<TimerEventSource> putOff = Add(0.01, "put off");
        putOff->Restart();
        m_timers->DeleteTimer(putOff.Get());
        const RCPtr<Event> fired(new Event(Event::ManualReset));
        Add(interval, "near", [=] { fired->Set(true); });
        ASSERT_TRUE(fired->Wait(LONG_ENOUGH)) << interval;
    }
    m_timers->RequestStop();
    m_timers->Join();
    EXPECT_GT(m_timers->GetAmountToWait(), 0);
}

// Each timer arms the next, so that there is always one due.
void ArmChain(TimerEventThread* timers) {
    timers->AddTimer(new CallbackTimer(0, [timers] { ArmChain(timers); }));
}

TEST(TimerEventThreadLifeTest, TakesChangesFromManyThreadsAndStopsAnytime) {
    constexpr int rounds = 200;
    for (int i = 0; i < rounds; ++i) {
        const RCPtr<TimerEventThread> timers(new TimerEventThread);
        const auto change = [&] {
            for (int j = 0; j < i % 20; ++j) {
                const RCPtr<TimerEventSource> far(new CallbackTimer(FAR, [] {}));
                timers->AddTimer(far);
                timers->AddTimer(new CallbackTimer(0.0001 * j, [] {}));
                far->Restart();
                timers->DeleteTimer(far.Get());
            }
        };
        timers->Start();
        ArmChain(timers.Get());
        std::thread other(change);
        change();
        timers->RequestStop();
        timers->Join();
        other.join();
    }
}

}  // namespace
}  // namespace zel
