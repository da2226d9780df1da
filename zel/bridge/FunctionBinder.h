#pragma once

#include "zel/bridge/CFuncBinder.h"

#include <functional>
#include <memory>
#include <tuple>
#include <utility>

namespace zel {

// Takes the arguments of a bridge call one after the other, each as a C caller has passed it.
//
//     ArgumentReader reader(arguments);
//     const auto name = reader.Take<const char*>();
//     const auto gain = reader.Take<float>();  // was passed as double
class ArgumentReader {
public:
    // Begins at the first argument; `arguments` outlives the reader.
    explicit ArgumentReader(CArguments arguments) noexcept : m_arguments(arguments) {}

    // The next argument, which is a number, an enumeration or a pointer.
    template <class T>
    T Take() {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>,
                      "C passes numbers, enumerations and pointers: take a pointer to the rest");
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

    template <class T, class List>
    static T TakeFrom(List& list) {
        if constexpr (std::is_same_v<List, std::va_list*>) {
            return va_arg(*list, T);
        } else {
            return va_arg(list, T);
        }
    }

    CArguments m_arguments;
};

// Calls a lambda, or whatever else can be called, with the arguments that its parameters name. What
// it returns is stored through one pointer more, which follows the arguments, unless that is null.
template <class Callable>
class FunctionBinder : public CFuncBinderBase {
public:
    // Takes the callable over.
    explicit FunctionBinder(Callable callable) : m_callable(std::move(callable)) {}

    void Invoke(void*, CArguments arguments) override {
        ArgumentReader reader(arguments);
        Run(reader, static_cast<Signature*>(nullptr));
    }

private:
    using Signature = decltype(std::function(std::declval<Callable>()));

    template <class Result, class... Parameters>
    void Run(ArgumentReader& reader, std::function<Result(Parameters...)>*) {
        // Braces, as they alone take the arguments in their order.
        std::tuple<Parameters...> arguments{reader.Take<Parameters>()...};
        if constexpr (std::is_void_v<Result>) {
            std::apply(m_callable, std::move(arguments));
        } else {
            auto* const target = reader.Take<std::remove_cvref_t<Result>*>();
            std::decay_t<Result> result = std::apply(m_callable, std::move(arguments));
            if (target != nullptr) {
                *target = std::move(result);
            }
        }
    }

    Callable m_callable;
};

// Registers a callable under a key. False, and nothing registered, if the key is null or nobody has
// called CBinder::Prepare; what is logged and waited for then CBinder::GetBinder tells.
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
