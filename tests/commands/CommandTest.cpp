#include "zel/commands/CommandChain.h"
#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/core/Event.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <functional>

namespace zel {
namespace {

constexpr int LONG_ENOUGH = 20000;

class LonelyTarget : public RCObject {
public:
    explicit LonelyTarget(std::string& calls) : m_calls(calls) {}
    ~LonelyTarget() override { m_calls += "gone "; }

    virtual void Call(RCPtr<LonelyTarget>* owner) {
        *owner = nullptr;
        m_calls += "called ";
    }

private:
    std::string& m_calls;
};

TEST(CommandTest, CallsItsTargetAndHoldsItForTheTimeOfTheCallAlone) {
    std::string calls;
    RCPtr<LonelyTarget> owner(new LonelyTarget(calls));
    AsyncCommandForRCObject command(WeakPtr<LonelyTarget>(owner), &LonelyTarget::Call, &owner);
    command.Run();
    EXPECT_EQ(calls, "called gone ");
    command.Run();
    AsyncCommandForRCObject(WeakPtr<LonelyTarget>(), &LonelyTarget::Call, &owner).Run();
    EXPECT_EQ(calls, "called gone ");
}

TEST(CommandChainTest, ThrowsAndLogsTheTextOfTheMessage) {
    const test::ScopedLogger log;
    MemOS message;
    message << "a" << '\0' << "b";
    EXPECT_THROW(ThrowCommandChainEx(message), CommandChainEx);
    EXPECT_EQ(log.sink->TakeText(),
              std::string("\n2 CommandChain Exception of type CommandChainEx. a\0b", 53));
}

class ThreadCommandProcessorTest : public testing::Test {
protected:
    class Call : public Command {
    public:
        explicit Call(std::function<void()> work) : m_work(std::move(work)) {}
        void Run() override { m_work(); }

    private:
        std::function<void()> m_work;
    };

    void Post(std::function<void()> work) { m_processor->PostCommand(new Call(std::move(work))); }

    const test::ScopedLogger m_log;
    RCPtr<ThreadCommandProcessor> m_processor{new ThreadCommandProcessor};
    const RCPtr<Event> m_go{new Event(Event::ManualReset)};
    const RCPtr<Event> m_ended{new Event(Event::ManualReset)};
};

TEST_F(ThreadCommandProcessorTest, RunsInOrderWhateverACommandThrowsUntilItIsStopped) {
    std::string calls;
    Post([] { throw Exception("SomeEx", "gone", "Some", 7); });
    Post([] { throw 1; });
    Post([&] {
        Post([&] {
            calls += "second ";
            m_processor->Stop();
            Post([&] { calls += "refused "; });
        });
        Post([&] {
            calls += "third ";
            m_ended->Set(true);
        });
        calls += "first ";
    });
    ASSERT_TRUE(m_ended->Wait(LONG_ENOUGH));
    m_processor->Stop();
    EXPECT_THROW(m_processor->PostCommand(nullptr), Exception);
    EXPECT_EQ(calls, "first second third ");
    EXPECT_EQ(m_log.sink->TakeText(), R"(
3 CommandProcessor Command got exception. SomeEx: gone (Some:7)
3 CommandProcessor Command got exception. It is of no known type.
3 CommandProcessor A command was posted after the stop and is dropped.
2 CommandProcessor Exception of type Exception. A null command was posted.)");
}

TEST_F(ThreadCommandProcessorTest, MayLoseItsLastReferenceInACommandAndRunsTheRest) {
    Post([go = m_go, held = m_processor]() mutable {
        go->Wait(LONG_ENOUGH);
        held = nullptr;
    });
    Post([ended = m_ended] { ended->Set(true); });
    m_processor = nullptr;
    m_go->Set(true);
    EXPECT_TRUE(m_ended->Wait(LONG_ENOUGH));
}

}  // namespace
}  // namespace zel
