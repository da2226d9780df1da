#pragma once

/// @file
/// How commands store their arguments.
///
/// Guide: docs/commands.md

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace zel {

/// The parameter types of a member function, as a tuple; an empty one for any other type.
template <class Fn>
struct CommandParametersImp {
    using Types = std::tuple<>;
};
template <class R, class T, class... P>
struct CommandParametersImp<R (T::*)(P...)> {
    using Types = std::tuple<P...>;
};
template <class R, class T, class... P>
struct CommandParametersImp<R (T::*)(P...) const> {
    using Types = std::tuple<P...>;
};
template <class R, class T, class... P>
struct CommandParametersImp<R (T::*)(P...) noexcept> {
    using Types = std::tuple<P...>;
};
template <class R, class T, class... P>
struct CommandParametersImp<R (T::*)(P...) const noexcept> {
    using Types = std::tuple<P...>;
};

/// Whether the parameter at `index` of a member function accepts a `std::string`.
template <class Fn, std::size_t index>
constexpr bool TakesStringImp() {
    using Types = typename CommandParametersImp<Fn>::Types;
    if constexpr (index < std::tuple_size_v<Types>) {
        return std::is_convertible_v<std::string&, std::tuple_element_t<index, Types>>;
    } else {
        return false;
    }
}

/// Whether the type is a pointer to characters.
template <class Arg>
inline constexpr bool IsCharacterPointerImp =
    std::is_same_v<Arg, const char*> || std::is_same_v<Arg, char*>;

/// The type a command stores an argument as: `std::string` for a character pointer if the function
/// accepts a `std::string`, otherwise the type of the argument.
template <class Fn, class Arg, std::size_t index = 0>
using CommandArgumentImp =
    std::conditional_t<IsCharacterPointerImp<Arg> && TakesStringImp<Fn, index>(), std::string, Arg>;

/// Whether a value of the type remains valid without another object that it refers to. False for
/// references, for pointers except those to functions, and for views.
template <class T>
inline constexpr bool IsSelfContainedImp =
    !std::is_reference_v<T> &&
    (!std::is_pointer_v<T> || std::is_function_v<std::remove_pointer_t<T>>);
template <class T>
inline constexpr bool IsSelfContainedImp<std::reference_wrapper<T>> = false;
template <class Char, class Traits>
inline constexpr bool IsSelfContainedImp<std::basic_string_view<Char, Traits>> = false;
template <class T, std::size_t extent>
inline constexpr bool IsSelfContainedImp<std::span<T, extent>> = false;

/// The types that commands store a pack of arguments as.
template <class Fn, class Indices, class... Args>
struct CommandArgumentsImp;
template <class Fn, std::size_t... indices, class... Args>
struct CommandArgumentsImp<Fn, std::index_sequence<indices...>, Args...> {
    using Types = std::tuple<CommandArgumentImp<Fn, Args, indices>...>;
    static constexpr bool ARE_SELF_CONTAINED =
        (IsSelfContainedImp<CommandArgumentImp<Fn, Args, indices>> && ...);
};

}  // namespace zel
