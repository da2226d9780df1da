#pragma once

#include "zel/commands/Command.h"

#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace zel {

/// A command that calls a function, a lambda or another callable without parameters.
///
///     processor->PostCommand(new CallableCommand([] { ... }));
///
/// `CommandProcessor::Post` creates one. What the callable captures is destroyed with the command.
///
/// Guide: docs/commands.md
template <class Callable>
class CallableCommand : public Command {
    static_assert(
        std::is_invocable_v<Callable&>,
        "Only a callable without parameters can be posted alone. Capture the arguments in "
        "a lambda.");

public:
    /// Stores the callable.
    explicit CallableCommand(Callable callable) : m_callable(std::move(callable)) {}

    /// Calls it and ignores the result.
    void Run() override { static_cast<void>(std::invoke(m_callable)); }

private:
    Callable m_callable;
};

/// Create a command that calls a member function with any number of arguments, also none, if the
/// object still exists. Like `AsyncCommandForRCObject`, which takes one argument, it holds the
/// target weakly and stores the arguments as values.
///
///     processor->PostCommand(MakeCommand(pump, &Pump::Stop));
///@{
template <class T, class Fn, class... Args>
RCPtr<Command> MakeCommand(WeakPtr<T> target, Fn function, Args... arguments) {
    using Stored = CommandArgumentsImp<Fn, std::index_sequence_for<Args...>, Args...>;
    static_assert(Stored::ARE_SELF_CONTAINED,
                  "A command can't store a pointer, reference or view: the object it refers to may "
                  "be destroyed before the command runs. Pass a value, a std::string or an RCPtr.");
    return new CallableCommand(
        [function, weak = std::move(target),
         stored = typename Stored::Types(std::move(arguments)...)]() mutable {
            if (const RCPtr<T> object = weak.GetRCPtr()) {
                std::apply([&](auto&... values) { ((*object).*function)(values...); }, stored);
            }
        });
}
template <class T, class Fn, class... Args>
RCPtr<Command> MakeCommand(RCPtr<T> target, Fn function, Args... arguments) {
    return MakeCommand(WeakPtr<T>(target), function, std::move(arguments)...);
}
///@}

}  // namespace zel
