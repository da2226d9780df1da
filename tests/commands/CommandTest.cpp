#include "zel/commands/CommandChain.h"
#include "zel/commands/CommandProcessor.h"
#include "zel/core/Event.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <functional>

namespace zel {
namespace {

constexpr int TIMEOUT = 20'000;

struct Call : Command {
    explicit Call(std::function<void()> call) : work(std::move(call)) {}
    void Run() override { work(); }

    const std::function<void()> work;
};

struct Receiver : RCObject {
    void Take(const std::string& text) { onTake(text); }

    std::function<void(const std::string&)> onTake;
};

TEST(CommandTest, HoldsItsTargetDuringTheCallAndACharacterPointerAsAString) {
    std::string calls;
    std::string text = "longer than a buffer inside of std::string";
    RCPtr<Receiver> target(new Receiver);
    const WeakPtr<Receiver> weak(target);
    target->onTake = [&](const std::string& argument) {
        target = nullptr;
        calls += argument + (weak.GetRCPtr() ? ", held" : ", destroyed");
    };
    AsyncCommandForRCObject command(target, &Receiver::Take, text.c_str());
    text.assign(100, '?');
    command.Run();
    command.Run();
    EXPECT_EQ(calls, "longer than a buffer inside of std::string, held");
}

static_assert(IsSelfContainedImp<std::string> && IsSelfContainedImp<void (*)()>);
static_assert(!IsSelfContainedImp<const char*> && !IsSelfContainedImp<const std::string&>);
static_assert(!IsSelfContainedImp<std::string_view> && !IsSelfContainedImp<std::span<int>>);
static_assert(!IsSelfContainedImp<std::reference_wrapper<int>>);

TEST(CommandChainTest, LogsAndThrowsTheWholeText) {
    const test::ScopedLogger log;
    MemOS message;
    message << "a" << '\0' << "b";
    EXPECT_THROW(ThrowCommandChainEx(message), CommandChainEx);
    EXPECT_EQ(log.sink->TakeText(),
              std::string("\n2 CommandChain Exception of type CommandChainEx. a\0b", 53));
}

TEST(ThreadCommandProcessorTest, RunsInOrderDespiteExceptionsUntilStopped) {
    const test::ScopedLogger log;
    ThreadCommandProcessor processor;
    Event go(Event::ManualReset);
    std::string calls;
    const auto post = [&](auto work) { processor.PostCommand(new Call(work)); };
    post([&] {
        go.Wait(TIMEOUT);
        throw Exception("SomeEx", "gone", "Some", 7);
    });
    post([] { throw 1; });
    post([&] {
        processor.Stop();
        post([&] { calls += "refused "; });
        calls += "first ";
    });
    post([&] { calls += "second "; });
    go.Set(true);
    processor.Stop();
    EXPECT_THROW(processor.PostCommand(nullptr), Exception);
    EXPECT_EQ(calls, "first second ");
    EXPECT_EQ(log.sink->TakeText(), R"(
3 CommandProcessor Command got exception. SomeEx: gone (Some:7)
3 CommandProcessor Command got exception. It is of no known type.
3 CommandProcessor A command was posted after the stop and is dropped.
2 CommandProcessor Exception of type Exception. A null command was posted.)");
}

TEST(ThreadCommandProcessorTest, RunsTheRestAfterACommandDropsTheLastReference) {
    RCPtr<ThreadCommandProcessor> processor(new ThreadCommandProcessor);
    const RCPtr<Event> go(new Event(Event::ManualReset));
    const RCPtr<Event> ended(new Event(Event::ManualReset));
    processor->PostCommand(new Call([go, held = processor]() mutable {
        go->Wait(TIMEOUT);
        held = nullptr;
    }));
    processor->PostCommand(new Call([ended] { ended->Set(true); }));
    processor = nullptr;
    go->Set(true);
    EXPECT_TRUE(ended->Wait(TIMEOUT));
}

}  // namespace
}  // namespace zel
