#pragma once

#include "zel/foundation/Export.h"
#include "zel/foundation/WeakPtr.h"

#include <utility>

namespace zel {

/// A unit of deferred work, run once on the thread of a `CommandProcessor`.
///
///     class Flush : public Command {
///         void Run() override { ... }
///     };
///     processor->PostCommand(new Flush);
///
/// Not thread-safe: the creating thread uses a command until it is posted, the processor's thread
/// after that.
///
/// Guide: docs/commands.md
class ZEL_ADVANCED_API Command : public RCObject {
public:
    ~Command() override;

    /// Does the work. The default implementation does nothing. Called once, with no lock held; an
    /// exception is passed to the processor.
    virtual void Run();
};

/// Calls a member function of a reference-counted object if the object still exists. The command
/// holds its target weakly: a queued command doesn't keep the target alive.
///
///     processor->PostCommand(
///         new AsyncCommandForRCObject(WeakPtr<Pump>(pump), &Pump::SetSpeed, 1200));
template <class T, class Fn, class Arg>
class AsyncCommandForRCObject : public Command {
public:
    /// Stores a call of `function`, a member function of `T`, virtual or not, with `argument`.
    AsyncCommandForRCObject(WeakPtr<T> target, Fn function, Arg argument)
        : m_target(std::move(target)), m_argument(std::move(argument)), m_function(function) {}

    ~AsyncCommandForRCObject() override;

    /// Calls the function, or does nothing if the target no longer exists. The target is held
    /// during the call; if that was its last reference, the target is destroyed afterwards, on
    /// this thread and with no lock held.
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

// Defined outside the class because an explicit instantiation exports only such members.
template <class T, class Fn, class Arg>
AsyncCommandForRCObject<T, Fn, Arg>::~AsyncCommandForRCObject() = default;

}  // namespace zel
