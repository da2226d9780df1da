#pragma once

#include "zel/commands/Command.h"

#include <string>

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
