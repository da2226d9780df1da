#pragma once

#include "zel/commands/CommandProcessor.h"

#include <string>

namespace zel {

// Runs commands one after the other, in the order of their posting, on one thread of its own, which
// sleeps while there is none.
//
//     RCPtr<ThreadCommandProcessor> processor(new ThreadCommandProcessor("Pumps"));
//     processor->PostCommand(command);
//     ...
//     processor->Stop();
//
// An exception that leaves a command is logged at level 3, and the next command runs. Any thread
// may call anything at any time, a command too; a command may even drop the last reference to its
// own processor.
class ZEL_ADVANCED_API ThreadCommandProcessor : public CommandProcessor {
public:
    // Starts the thread, under this name. Throws std::system_error when the system gives none.
    explicit ThreadCommandProcessor(const std::string& name = "Commands");

    // Stops, as Stop does.
    ~ThreadCommandProcessor() override;

    // Never waits for a command. After Stop the command is dropped, with a line in the log at level
    // 3. A null command raises Exception. There is no limit to the commands that wait: whoever may
    // post faster than the commands run counts those in flight.
    void PostCommand(RCPtr<Command> command) override;

    // Takes no more commands, runs all that were posted before, and waits for the thread's end; in
    // a command it doesn't wait. A second call only waits.
    void Stop();

private:
    class Worker;

    const RCPtr<Worker> m_worker;
};

}  // namespace zel
