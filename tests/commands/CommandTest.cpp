#include "zel/commands/Command.h"

#include "zel/commands/CommandChain.h"
#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/core/Event.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;

class Target : public RCObject {
public:
    explicit Target(std::string& calls) : m_calls(calls) {}
    ~Target() override { m_calls += "gone "; }
    virtual void Call(std::string) { m_calls += "base "; }

protected:
    std::string& m_calls;
};

class DerivedTarget : public Target {
public:
    DerivedTarget(std::string& calls, RCPtr<Target>& owner) : Target(calls), m_owner(owner) {}

    void Call(std::string text) override {
        m_owner = nullptr;
        m_calls += text;
    }

private:
    RCPtr<Target>& m_owner;
};

class CallingCommand : public Command {
public:
    explicit CallingCommand(std::function<void()> work) : m_work(std::move(work)) {}
    void Run() override { m_work(); }

private:
    std::function<void()> m_work;
};

TEST(CommandTest, CallsItsTargetAndHoldsItForTheTimeOfTheCallAlone) {
    std::string calls;
    RCPtr<Target> owner;
    owner = new DerivedTarget(calls, owner);
    AsyncCommandForRCObject command(WeakPtr<Target>(owner), &Target::Call, std::string("called "));
    command.Run();
    EXPECT_EQ(calls, "called gone ");
    command.Run();
    AsyncCommandForRCObject(WeakPtr<Target>(), &Target::Call, std::string()).Run();
    Command().Run();
    EXPECT_EQ(calls, "called gone ");
}

TEST(CommandChainTest, ThrowsAndLogsTheTextOfTheMessage) {
    const test::ScopedLogger log;
    for (const std::string& text : {std::string("a\0b", 3), std::string()}) {
        MemOS message;
        message << text;
        try {
            ThrowCommandChainEx(message);
        } catch (const CommandChainEx& exception) {
            EXPECT_EQ(exception.GetText(), text);
            EXPECT_EQ(exception.AsString(), "CommandChainEx: " + text);
            EXPECT_EQ(exception.GetFile(), "CommandChain");
        }
        EXPECT_EQ(
            log.sink->TakeLines(),
            std::vector<std::string>{"2 CommandChain Exception of type CommandChainEx. " + text});
    }
}

class ThreadCommandProcessorTest : public testing::Test {
protected:
    void Post(std::function<void()> work) {
        m_processor->PostCommand(new CallingCommand(std::move(work)));
    }

    const test::ScopedLogger m_log;
    RCPtr<ThreadCommandProcessor> m_processor{new ThreadCommandProcessor};
    std::string m_calls;
};

TEST_F(ThreadCommandProcessorTest, RunsInOrderWhateverACommandThrowsUntilItIsStopped) {
    Post([] { throw Exception("SomeEx", "gone", "Some", 7); });
    Post([] { throw 1; });
    const RCPtr<Event> stopped(new Event(Event::ManualReset));
    Post([&] {
        Post([&] {
            m_calls += "second ";
            m_processor->Stop();
            Post([&] { m_calls += "refused "; });
        });
        Post([&] {
            m_calls += "third ";
            stopped->Set(true);
        });
        m_calls += "first ";
    });
    ASSERT_TRUE(stopped->Wait(LONG_ENOUGH));
    m_processor->Stop();
    EXPECT_THROW(m_processor->PostCommand(nullptr), Exception);
    EXPECT_EQ(m_calls, "first second third ");
    const std::vector<std::string> expected = {
        "3 CommandProcessor Command got exception. SomeEx: gone (Some:7)",
        "3 CommandProcessor Command got exception. It is of no known type.",
        "3 CommandProcessor A command was posted after the stop and is dropped.",
        "2 CommandProcessor Exception of type Exception. A null command was posted."};
    EXPECT_EQ(m_log.sink->TakeLines(), expected);
}

TEST_F(ThreadCommandProcessorTest, MayLoseItsLastReferenceInACommandAndRunsTheRest) {
    const RCPtr<Event> ready(new Event(Event::ManualReset));
    const RCPtr<Event> ended(new Event(Event::ManualReset));
    Post([=, held = m_processor]() mutable {
        ready->Wait(LONG_ENOUGH);
        held = nullptr;
    });
    Post([=] { ended->Set(true); });
    m_processor = nullptr;
    ready->Set(true);
    EXPECT_TRUE(ended->Wait(LONG_ENOUGH));
}

TEST_F(ThreadCommandProcessorTest, RunsOnceWhatWasPostedByAnyThreadBeforeTheStop) {
    constexpr int posts = 2000;
    std::atomic<int> runs{0};
    const auto post = [&] {
        for (int i = 0; i < posts; ++i) {
            Post([&] { ++runs; });
        }
    };
    std::thread other(post);
    post();
    other.join();
    std::thread stopping([&] { m_processor->Stop(); });
    m_processor->Stop();
    EXPECT_EQ(runs, 2 * posts);
    stopping.join();
}

}  // namespace
}  // namespace zel
