#pragma once

#include "zel/bridge/CBinder.h"

#include <functional>
#include <memory>
#include <tuple>
#include <utility>

namespace zel {

/// Reads the arguments of a bridge call in order, as a C caller passed them.
///
///     ArgumentReader reader(arguments);
///     const auto name = reader.Take<const char*>();
///     const auto gain = reader.Take<float>();  // passed as double
///
/// Not thread-safe.
class ArgumentReader {
public:
    /// Starts at the first argument. Requires: `arguments` outlives the reader.
    explicit ArgumentReader(CArguments arguments) noexcept : m_arguments(arguments) {}

    /// Returns the next argument: a number, an enumeration or a pointer. Types that the default
    /// argument promotions widen are converted back. Requires: the caller passed an argument of
    /// this type.
    template <class T>
    T Take() {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>,
                      "C passes numbers, enumerations and pointers: take a pointer to other types");
        if constexpr (std::is_same_v<T, float>) {
            return static_cast<float>(TakeAs<double>());
        } else if constexpr (std::is_enum_v<T>) {
            return static_cast<T>(Take<std::underlying_type_t<T>>());
        } else if constexpr (std::is_integral_v<T> && sizeof(T) < sizeof(int)) {
            return static_cast<T>(TakeAs<int>());
        } else {
            return TakeAs<T>();
        }
    }

private:
    template <class T>
    T TakeAs() {
        return TakeFrom<T>(m_arguments);
    }

    // Overloads, as a deduced type isn't always accepted as a list of arguments.
    template <class T>
    static T TakeFrom(std::va_list& list) {
        return va_arg(list, T);
    }

    template <class T>
    static T TakeFrom(std::va_list* list) {
        return va_arg(*list, T);
    }

    CArguments m_arguments;
};

/// Binder that calls a callable with the arguments its parameters specify. A result is stored
/// through one more pointer argument, which follows the others and may be null. If a call replaces
/// or releases its own binder, the callable lives until the call returns.
///
/// Guide: docs/c-bridge.md
template <class Callable>
class FunctionBinder : public CFuncBinderBase {
public:
    /// Takes ownership of the callable.
    explicit FunctionBinder(Callable callable)
        : m_callable(std::make_shared<Callable>(std::move(callable))) {}

    void Invoke(void*, CArguments arguments) override {
        // The call may delete this binder; the callable and its captures live until it returns.
        const std::shared_ptr<Callable> callable = m_callable;
        ArgumentReader reader(arguments);
        Run(*callable, reader, static_cast<Signature*>(nullptr));
    }

private:
    using Signature = decltype(std::function(std::declval<Callable>()));

    template <class Result, class... Parameters>
    static void Run(Callable& callable, ArgumentReader& reader,
                    std::function<Result(Parameters...)>*) {
        // Braced initialization evaluates the calls of Take from left to right.
        std::tuple<Parameters...> arguments{reader.Take<Parameters>()...};
        if constexpr (std::is_void_v<Result>) {
            std::apply(callable, std::move(arguments));
        } else {
            auto* const target = reader.Take<std::remove_cvref_t<Result>*>();
            std::decay_t<Result> result = std::apply(callable, std::move(arguments));
            if (target != nullptr) {
                *target = std::move(result);
            }
        }
    }

    const std::shared_ptr<Callable> m_callable;
};

/// Registers a callable under a key; see `CBinder::Register`. Returns false and registers nothing
/// if the key is null or the registry has no users; in the latter case it logs and waits as
/// `CBinder::GetBinder` does. Thread-safe.
template <class Callable>
bool RegisterFunction(void* function, Callable callable) {
    auto binder = std::make_unique<FunctionBinder<Callable>>(std::move(callable));
    CBinder* const registry = CBinder::GetBinder();
    if (registry == nullptr || function == nullptr) {
        return false;
    }
    registry->Register(function, binder.get());
    binder.release();
    return true;
}

}  // namespace zel
