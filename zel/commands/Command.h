#pragma once

#include "zel/commands/CommandArgument.h"
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
///     RCPtr<Pump> pump(new Pump);
///     processor->PostCommand(new AsyncCommandForRCObject(pump, &Pump::SetSpeed, 1200));
///
/// The argument is stored as a value. If the template arguments are deduced, a `const char*` for a
/// function that accepts a `std::string` is stored as a `std::string`. Any other pointer, reference
/// or view doesn't compile, as its object may be destroyed before the command runs; a pointer to a
/// function is allowed.
template <class T, class Fn, class Arg>
class AsyncCommandForRCObject : public Command {
    static_assert(IsSelfContainedImp<Arg>,
                  "A command can't store a pointer, reference or view: the object it refers to may "
                  "be destroyed before the command runs. Pass a value, a std::string or an RCPtr.");

public:
    /// Stores a call of `function`, a member function of `T`, virtual or not, with `argument`. The
    /// target may be passed as an `RCPtr`; it is held weakly in any case.
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

/// Deduce the type that the argument is stored as: `std::string` for a character pointer that the
/// function takes as a `std::string`.
///@{
template <class T, class Fn, class Arg>
AsyncCommandForRCObject(WeakPtr<T>, Fn, Arg)
    -> AsyncCommandForRCObject<T, Fn, CommandArgumentImp<Fn, Arg>>;
template <class T, class Fn, class Arg>
AsyncCommandForRCObject(RCPtr<T>, Fn, Arg)
    -> AsyncCommandForRCObject<T, Fn, CommandArgumentImp<Fn, Arg>>;
///@}

// Defined outside the class because an explicit instantiation exports only such members.
template <class T, class Fn, class Arg>
AsyncCommandForRCObject<T, Fn, Arg>::~AsyncCommandForRCObject() = default;

}  // namespace zel
