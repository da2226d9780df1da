#pragma once

#include "zel/commands/CallableCommand.h"

#include <future>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace zel {

/// Interface of an executor of commands. Programs derive their own or use
/// `ThreadCommandProcessor`.
///
/// Guide: docs/commands.md
class ZEL_ADVANCED_API CommandProcessor : public RCObject {
public:
    ~CommandProcessor() override;

    /// Takes a command, runs it once on a thread of the processor, and then releases it. Must
    /// return soon: a `TimerThread` posts its ticks from the thread that keeps its schedule.
    /// Thread-safe.
    ///
    /// Requires: `command` is not null.
    virtual void PostCommand(RCPtr<Command> command) = 0;

    /// Posts a call of any callable without parameters, such as a lambda. Its result is ignored; an
    /// exception is passed to the processor. Requires: what the callable refers to still exists
    /// when it is called; to call a member function of an object that may be destroyed before, post
    /// it by the next overload.
    template <class Callable>
    void Post(Callable callable) {
        PostCommand(new CallableCommand(std::move(callable)));
    }

    /// Posts a call of a member function with any number of arguments, also none. The target, an
    /// `RCPtr` or a `WeakPtr`, is held weakly: nothing is called if it no longer exists. The
    /// arguments are stored as by `AsyncCommandForRCObject`.
    ///
    ///     processor->Post(pump, &Pump::Stop);
    ///     processor->Post(pump, &Pump::SetSpeed, 1200, "manual");
    template <class Target, class Fn, class... Args>
    void Post(Target target, Fn function, Args... arguments) {
        PostCommand(MakeCommand(std::move(target), function, std::move(arguments)...));
    }

    /// Posts a call of any callable without parameters and returns a future of its result. The
    /// future receives an exception of the callable, too, and `std::future_error` if the command is
    /// dropped without a call. Requires: as for `Post`. A command must not wait for the future of
    /// another one on the same thread.
    ///
    ///     const double level = processor->PostForResult([=] { return pump->ReadLevel(); }).get();
    template <class Callable>
    std::future<std::invoke_result_t<Callable&>> PostForResult(Callable callable) {
        using Task = std::packaged_task<std::invoke_result_t<Callable&>()>;
        const auto task = std::make_shared<Task>(std::move(callable));
        Post([task] { (*task)(); });
        // Last, as a task without a future is dropped without an allocation if posting fails.
        return task->get_future();
    }
};

/// Runs commands one at a time, in the order they were posted, on one thread of its own. The thread
/// sleeps while there is nothing to run.
///
///     RCPtr<ThreadCommandProcessor> processor(new ThreadCommandProcessor("Pumps"));
///     processor->PostCommand(command);
///     ...
///     processor->Stop();
///
/// An exception that leaves a command is logged at level 3, whatever its type, and the next command
/// runs.
///
/// Thread-safe. A command may call every member, and may drop the last reference to its own
/// processor.
class ZEL_ADVANCED_API ThreadCommandProcessor : public CommandProcessor {
public:
    /// Starts the thread, named `name`. Throws `std::system_error` if the system refuses a thread.
    explicit ThreadCommandProcessor(const std::string& name = "Commands");

    /// Calls `Stop`.
    ~ThreadCommandProcessor() override;

    /// Appends a command to the queue without waiting for it. Throws `Exception` if `command` is
    /// null. After `Stop` the command is dropped and a line logged at level 3.
    ///
    /// The queue has no limit: a caller that can post faster than commands run must count those in
    /// flight.
    void PostCommand(RCPtr<Command> command) override;

    /// Accepts no further commands and blocks until those already posted have run and the thread
    /// has exited. A second call only waits. Called from a command, it doesn't wait.
    void Stop();

private:
    class Worker;

    const RCPtr<Worker> m_worker;
};

}  // namespace zel
