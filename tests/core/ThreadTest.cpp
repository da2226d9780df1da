#include "zel/core/Thread.h"

#include "zel/core/CriticalSectionLock.h"
#include "zel/core/Timer.h"
#include "zel/core/WeakPtr.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;

struct CallingThread : Thread {
    using Work = std::function<void(CallingThread&)>;
    using Thread::m_stopEvent;

    explicit CallingThread(Work work) : Thread("worker"), m_work(std::move(work)) {}
    void Run() override { m_work(*this); }

    const Work m_work;
};

TEST(ThreadTest, RunsOnceUntilItIsRequestedToStop) {
    const RCPtr<CallingThread> thread(new CallingThread([](CallingThread& self) {
        EXPECT_TRUE(self.m_stopEvent->Wait(LONG_ENOUGH) && self.ShouldStop());
    }));
    EXPECT_FALSE(thread->IsRunning());
    thread->Join();
    EXPECT_TRUE(thread->Start());
    EXPECT_FALSE(thread->Start());
    EXPECT_TRUE(thread->IsRunning());
    thread->RequestStop();
    thread->Join();
    EXPECT_FALSE(thread->IsRunning());
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

TEST(ThreadTest, RunsAfterAnEarlyRequestToStopAndLogsWhatEscapesRun) {
    const test::ScopedLogger log;
    const RCPtr<CallingThread> thread(new CallingThread([](CallingThread& self) {
        throw std::runtime_error(self.ShouldStop() ? "stop requested" : "restarted");
    }));
    thread->RequestStop();
    thread->Start();
    thread->Join();
    EXPECT_EQ(log.sink->TakeText(),
              "\n2 Thread Thread \"worker\" ended by an exception. stop requested");
}

TEST(EventTest, AWaitTakesTheLowestIndexOrAllAndClearsAutomaticEvents) {
    const std::vector<RCPtr<Event>> events = {new Event(Event::AutomaticReset),
                                              new Event(Event::AutomaticReset, true),
                                              new Event(Event::ManualReset, true)};
    EXPECT_EQ(Event::WaitMultiple(events, true, 10), -1);
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), 1) << "a wait for all must clear nothing";
    EXPECT_EQ(Event::WaitMultipleUntil(events, false, INFINITY), 2);
    events[0]->Set(true);
    events[1]->Set(true);
    EXPECT_EQ(Event::WaitMultiple(events, true, 0), 0);
    EXPECT_FALSE(events[0]->IsSet());
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), 2);
    events[2]->Set(false);
    EXPECT_EQ(Event::WaitMultiple(events, false, 0), -1);
    EXPECT_EQ(Event::WaitMultiple({}, false, -1), -1);
    const double end = Timer::GetTime() + 0.001;
    EXPECT_EQ(Event::WaitMultipleUntil(events, false, end), -1);
    EXPECT_GE(Timer::GetTime(), end);
    EXPECT_EQ(Event::WaitMultipleUntil(events, false, -INFINITY), -1);
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
        const std::jthread waiters[] = {std::jthread(wait), std::jthread(wait)};
        for (int i = 0; i < signals; ++i) {
            events[0]->Set(true);
            EXPECT_TRUE(seen.Wait(LONG_ENOUGH));
        }
        events[1]->Set(true);
    }
    EXPECT_EQ(passed, signals);
}

TEST(CriticalSectionTest, ExcludesOtherThreadsUntilTheLastLeave) {
    CriticalSection cs;
    constexpr int rounds = 20000;
    int counter = 0;
    const auto work = [&] {
        for (int round = 0; round < rounds; ++round) {
            const CriticalSectionLock outer(&cs);
            CriticalSectionLock inner(&cs);
            inner.Unlock();
            inner.Unlock();
            const int seen = counter;
            if (round % 1000 == 0) {
                std::this_thread::yield();  // long enough for the others to go to sleep
            }
            counter = seen + 1;
        }
    };
    { const std::jthread workers[] = {std::jthread(work), std::jthread(work), std::jthread(work)}; }
    EXPECT_EQ(counter, 3 * rounds);
    CriticalSectionLock(nullptr).Unlock();
}

}  // namespace
}  // namespace zel
