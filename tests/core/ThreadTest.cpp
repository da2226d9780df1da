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
    using Work = std::function<void(CallingThread&)>;
    using Thread::m_stopEvent;

    explicit CallingThread(Work work) : Thread("worker"), m_work(std::move(work)) {}
    void Run() override { m_work(*this); }

private:
    Work m_work;
};

TEST(ThreadTest, RunsOnceUntilItIsRequestedToStop) {
    int runs = 0;
    const auto work = [&](CallingThread& self) {
        ++runs;
        EXPECT_TRUE(self.m_stopEvent->Wait(LONG_ENOUGH) && self.ShouldStop());
    };
    const RCPtr<CallingThread> thread(new CallingThread(work));
    EXPECT_EQ(thread->GetName(), "worker");
    EXPECT_FALSE(thread->IsRunning());
    thread->Join();
    EXPECT_TRUE(thread->Start());
    EXPECT_FALSE(thread->Start());
    EXPECT_TRUE(thread->IsRunning());
    thread->RequestStop();
    thread->Join();
    EXPECT_FALSE(thread->IsRunning());
    const RCPtr<CallingThread> late(new CallingThread(work));
    late->RequestStop();
    late->Start();
    late->Join();
    EXPECT_EQ(runs, 2);
}

TEST(ThreadTest, HoldsItselfAfterItsOwnerReleasedItAndMayJoinItself) {
    Event ended(Event::ManualReset);
    RCPtr<CallingThread> thread(new CallingThread([&](CallingThread& self) {
        self.m_stopEvent->Wait(LONG_ENOUGH);
        self.Join();
        ended.Set(true);
    }));
    const WeakPtr<CallingThread> weak(thread);
    thread->Start();
    thread = nullptr;
    weak.GetRCPtr()->RequestStop();
    EXPECT_TRUE(ended.Wait(LONG_ENOUGH));
}

TEST(ThreadTest, LogsAnExceptionThatEscapesRunAndEnds) {
    const test::ScopedLogger log;
    const std::pair<CallingThread::Work, std::string> rows[] = {
        {[](CallingThread&) { throw Exception("SomeEx", "lost", "Some", 7); },
         "SomeEx: lost (Some:7)"},
        {[](CallingThread&) { throw std::runtime_error("lost too"); }, "lost too"},
        {[](CallingThread&) { throw 1; }, "It is of no known type."},
    };
    for (const auto& [work, reason] : rows) {
        const RCPtr<CallingThread> thread(new CallingThread(work));
        thread->Start();
        thread->Join();
        EXPECT_EQ(log.sink->TakeText(),
                  "\n2 Thread Thread \"worker\" ended by an exception. " + reason);
    }
}

TEST(EventTest, AWaitTakesTheLowestIndexOrAllAndClearsAutomaticEvents) {
    const std::vector<RCPtr<Event>> events = {new Event(Event::AutomaticReset),
                                              new Event(Event::AutomaticReset, true),
                                              new Event(Event::ManualReset, true)};
    EXPECT_EQ(Event::WaitMultiple(events, true, 10), -1);
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), 1) << "a wait for all must clear nothing";
    EXPECT_EQ(Event::WaitMultiple(events, false, -1), 2);
    events[0]->Set(true);
    events[1]->Set(true);
    EXPECT_EQ(Event::WaitMultiple(events, true, 0), 0);
    EXPECT_FALSE(events[0]->IsSet());
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), 2);
    EXPECT_TRUE(events[2]->IsSet());
    events[2]->Set(false);
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), -1);
    EXPECT_EQ(Event::WaitMultiple({}, false, -1), -1);
}

TEST(EventTest, OneSignalOfAnAutomaticEventReleasesOneWaiter) {
    constexpr int signals = 2000;
    const std::vector<RCPtr<Event>> events = {new Event(Event::AutomaticReset),
                                              new Event(Event::ManualReset)};
    Event seen(Event::AutomaticReset);
    std::atomic<int> passed{0};
    const auto wait = [&] {
        while (Event::WaitMultiple(events, false, -1) == 0) {
            ++passed;
            seen.Set(true);
        }
    };
    {
        const std::jthread first(wait);
        const std::jthread second(wait);
        for (int i = 0; i < signals; ++i) {
            events[0]->Set(true);
            EXPECT_TRUE(seen.Wait(LONG_ENOUGH));
        }
        events[1]->Set(true);
    }
    EXPECT_EQ(passed, signals);
}

TEST(TimerTest, MeasuresFromItsConstructionAndItsLastStart) {
    Timer timer;
    const double begin = timer.GetStartTime();
    EXPECT_FALSE(Event(Event::ManualReset).Wait(20));
    EXPECT_GE(timer.GetElapsedTime(), 0.02);
    timer.Start();
    EXPECT_GE(timer.GetStartTime(), begin + 0.02);
}

}  // namespace
}  // namespace zel
