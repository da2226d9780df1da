#include "zel/core/Thread.h"

#include "zel/core/Exception.h"
#include "zel/core/Timer.h"
#include "zel/core/WeakPtr.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;

class CallingThread : public Thread {
public:
    CallingThread(std::string name, std::function<void(CallingThread&)> work)
        : Thread(std::move(name)), m_work(std::move(work)) {}

    void Run() override { m_work(*this); }
    Event& GetStopEvent() { return *m_stopEvent; }

private:
    std::function<void(CallingThread&)> m_work;
};

RCPtr<Event> MakeEvent(int type = Event::ManualReset, bool signalled = false) {
    return new Event(type, signalled);
}

TEST(ThreadTest, RunsOnceUntilItIsAskedToStop) {
    int runs = 0;
    const auto work = [&](CallingThread& self) {
        ++runs;
        EXPECT_TRUE(self.GetStopEvent().Wait(LONG_ENOUGH) && self.ShouldStop());
    };
    const RCPtr<CallingThread> thread(new CallingThread("worker", work));
    EXPECT_FALSE(thread->IsRunning());
    thread->Join();
    EXPECT_TRUE(thread->Start());
    EXPECT_FALSE(thread->Start());
    EXPECT_TRUE(thread->IsRunning());
    thread->RequestStop();
    thread->Join();
    EXPECT_FALSE(thread->IsRunning());
    EXPECT_FALSE(thread->Start());
    EXPECT_EQ(thread->GetName(), "worker");

    const RCPtr<CallingThread> late(new CallingThread({}, work));
    late->RequestStop();
    late->Start();
    late->Join();
    EXPECT_EQ(runs, 2) << "a stop that was asked for before the start stays";
}

TEST(ThreadTest, HoldsItselfWhileItsOwnerDropsItAndMayJoinItself) {
    const RCPtr<Event> dropped = MakeEvent();
    const RCPtr<Event> ended = MakeEvent();
    RCPtr<CallingThread> thread(new CallingThread({}, [=](CallingThread& self) {
        dropped->Wait(LONG_ENOUGH);
        self.Join();
        ended->Set(true);
    }));
    const WeakPtr<CallingThread> weak(thread);
    thread->Start();
    thread = nullptr;
    EXPECT_TRUE(weak.GetRCPtr());
    dropped->Set(true);
    EXPECT_TRUE(ended->Wait(LONG_ENOUGH));
}

TEST(ThreadTest, LogsAnExceptionThatLeavesRunAndEndsAlone) {
    const test::ScopedLogger log;
    const std::pair<std::function<void(CallingThread&)>, std::string> rows[] = {
        {[](CallingThread&) { throw Exception("SomeEx", "gone", "Some", 7); },
         "SomeEx: gone (Some:7)"},
        {[](CallingThread&) { throw std::runtime_error("gone too"); }, "gone too"},
        {[](CallingThread&) { throw 1; }, "It is of no known type."},
    };
    for (const auto& [work, reason] : rows) {
        const RCPtr<CallingThread> thread(new CallingThread("pump", work));
        thread->Start();
        thread->Join();
        EXPECT_EQ(log.sink->TakeText(),
                  "\n2 Thread Thread \"pump\" ended by an exception. " + reason);
    }
}

TEST(EventTest, AWaitTakesTheLowestOfThoseSetOrAllAndClearsTheAutomaticOnes) {
    const std::vector<RCPtr<Event>> events = {MakeEvent(Event::AutomaticReset),
                                              MakeEvent(Event::AutomaticReset, true),
                                              MakeEvent(Event::ManualReset, true)};
    EXPECT_EQ(Event::WaitMultiple(events, true, 10), -1);
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), 1) << "a wait for all must clear nothing";
    EXPECT_EQ(Event::WaitMultiple(events, false, -1), 2);
    events[0]->Set(true);
    events[1]->Set(true);
    EXPECT_EQ(Event::WaitMultiple(events, true, 0), 0);
    EXPECT_FALSE(events[0]->IsSet() || events[1]->Wait(0));
    EXPECT_TRUE(events[2]->IsSet() && events[2]->Wait(0));
    events[2]->Set(false);
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), -1);
    EXPECT_EQ(Event::WaitMultiple({}, false, -1), -1);
}

TEST(EventTest, OneSignalOfAnAutomaticEventLetsOneWaiterGo) {
    constexpr int signals = 2000;
    const RCPtr<Event> go = MakeEvent(Event::AutomaticReset);
    const RCPtr<Event> seen = MakeEvent(Event::AutomaticReset);
    const RCPtr<Event> stop = MakeEvent();
    std::atomic<int> passed{0};
    const auto wait = [&] {
        while (Event::WaitMultiple({go, stop}, false, -1) == 0) {
            ++passed;
            seen->Set(true);
        }
    };
    {
        const std::jthread first(wait);
        const std::jthread second(wait);
        for (int i = 0; i < signals; ++i) {
            go->Set(true);
            EXPECT_TRUE(seen->Wait(LONG_ENOUGH));
        }
        stop->Set(true);
    }
    EXPECT_EQ(passed, signals);
}

TEST(TimerTest, CountsFromItsConstructionAndItsLastStart) {
    Timer timer;
    Thread::SleepFor(-1);
    EXPECT_FALSE(MakeEvent()->Wait(20));
    const double elapsed = timer.GetElapsedTime();
    EXPECT_GE(elapsed, 0.02);
    timer.Start();
    EXPECT_LT(timer.GetElapsedTime(), elapsed + 0.02);
}

}  // namespace
}  // namespace zel
