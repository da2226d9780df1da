#include "zel/commands/CommandChain.h"
#include "zel/commands/CommandProcessor.h"
#include "zel/core/Event.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <memory>

namespace zel {
namespace {

constexpr int TIMEOUT = 20'000;

struct Receiver : RCObject {
    void Take(const std::string& text) { onTake(text); }
    void TakeNothing() noexcept { calls += "none "; }
    bool TakeThree(int number, const std::string& text, RCPtr<Receiver>& other) const {
        other->calls += std::to_string(number) + text + ' ';
        return true;
    }

    std::function<void(const std::string&)> onTake;
    std::string calls;
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
    const auto post = [&](auto work) { processor.Post(work); };
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

TEST(ThreadCommandProcessorTest, CallsMembersOfLivingObjectsWithAnyNumberOfArguments) {
    ThreadCommandProcessor processor;
    const RCPtr<Receiver> target(new Receiver);
    std::string text = "three";
    processor.Post(target, &Receiver::TakeNothing);
    processor.Post(WeakPtr<Receiver>(target), &Receiver::TakeThree, 3, text.c_str(), target);
    processor.Post(WeakPtr<Receiver>(), &Receiver::TakeNothing);
    text = "?????";
    processor.Stop();
    EXPECT_EQ(target->calls, "none 3three ");
}

TEST(ThreadCommandProcessorTest, ReturnsTheResultTheExceptionOrTheLossOfACallAsAFuture) {
    ThreadCommandProcessor processor;
    auto owned = std::make_unique<int>(7);
    auto value = processor.PostForResult([owned = std::move(owned)] { return *owned; });
    auto exception = processor.PostForResult([] { throw 1; });
    EXPECT_EQ(value.get(), 7);
    EXPECT_THROW(exception.get(), int);
    processor.Stop();
    EXPECT_THROW(processor.PostForResult([] {}).get(), std::future_error);
}

TEST(ThreadCommandProcessorTest, RunsTheRestAfterACommandDropsTheLastReference) {
    RCPtr<ThreadCommandProcessor> processor(new ThreadCommandProcessor);
    const RCPtr<Event> go(new Event(Event::ManualReset));
    const RCPtr<Event> ended(new Event(Event::ManualReset));
    processor->Post([go, held = processor]() mutable {
        go->Wait(TIMEOUT);
        held = nullptr;
    });
    processor->Post([ended] { ended->Set(true); });
    processor = nullptr;
    go->Set(true);
    EXPECT_TRUE(ended->Wait(TIMEOUT));
}

}  // namespace
}  // namespace zel
