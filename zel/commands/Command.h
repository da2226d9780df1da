#pragma once

#include "zel/foundation/Export.h"
#include "zel/foundation/WeakPtr.h"

#include <utility>

namespace zel {

// Work that is done later, on the thread of a CommandProcessor. Until it is posted a command
// belongs to whoever makes it, and to the processor from then on.
//
//     class Flush : public Command {
//         void Run() override { ... }
//     };
//     processor->PostCommand(new Flush);
class ZEL_ADVANCED_API Command : public RCObject {
public:
    ~Command() override;

    // Does the work; that of this class is nothing. Called once, with no lock held. Its exceptions
    // go to the processor.
    virtual void Run();
};

// Calls a member function of a counted object, unless the object has gone by then: a command that
// waits keeps its target from nothing.
//
//     processor->PostCommand(
//         new AsyncCommandForRCObject(WeakPtr<Pump>(pump), &Pump::SetSpeed, 1200));
template <class T, class Fn, class Arg>
class AsyncCommandForRCObject : public Command {
public:
    // `function` is a member function of T, virtual or not, that takes one Arg.
    AsyncCommandForRCObject(WeakPtr<T> target, Fn function, Arg argument)
        : m_target(std::move(target)), m_argument(std::move(argument)), m_function(function) {}

    ~AsyncCommandForRCObject() override;

    // Makes the call if the target is still there, else does nothing. The target is held for the
    // time of the call; if everybody else has let it go meanwhile, it is destroyed here, on this
    // thread and with no lock held.
    void Run() override {
        if (const RCPtr<T> target = m_target.GetRCPtr()) {
            ((*target).*m_function)(m_argument);
        }
    }

private:
    WeakPtr<T> m_target;
    Arg m_argument;
    Fn m_function;
};

// Not in the class, as an instance that a library makes exports only what is defined outside.
template <class T, class Fn, class Arg>
AsyncCommandForRCObject<T, Fn, Arg>::~AsyncCommandForRCObject() = default;

}  // namespace zel
