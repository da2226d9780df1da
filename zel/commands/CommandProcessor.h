#pragma once

#include "zel/commands/Command.h"

namespace zel {

// Runs commands on a thread or threads of its own. A program derives its own from this class, or
// takes the ready-made ThreadCommandProcessor.
class ZEL_ADVANCED_API CommandProcessor : public RCObject {
public:
    ~CommandProcessor() override;

    // Takes a command, not null, runs it once sooner or later, and then drops it. Comes back soon:
    // the schedule of a TimerThread stands still meanwhile. Any thread may call it.
    virtual void PostCommand(RCPtr<Command> command) = 0;
};

}  // namespace zel

// The ready-made one comes along; it derives from the class above.
#include "zel/commands/ThreadCommandProcessor.h"
