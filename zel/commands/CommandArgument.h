#pragma once

/// @file
/// How `AsyncCommandForRCObject` stores its argument.
///
/// Guide: docs/commands.md

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace zel {

/// The parameter type of a member function with one parameter; `void` for any other type.
template <class Fn>
struct CommandParameterImp {
    using Type = void;
};
template <class R, class T, class P>
struct CommandParameterImp<R (T::*)(P)> {
    using Type = P;
};
template <class R, class T, class P>
struct CommandParameterImp<R (T::*)(P) const> {
    using Type = P;
};
template <class R, class T, class P>
struct CommandParameterImp<R (T::*)(P) noexcept> {
    using Type = P;
};
template <class R, class T, class P>
struct CommandParameterImp<R (T::*)(P) const noexcept> {
    using Type = P;
};

/// Whether the type is a pointer to characters.
template <class Arg>
inline constexpr bool IsCharacterPointerImp =
    std::is_same_v<Arg, const char*> || std::is_same_v<Arg, char*>;

/// The type a command stores an argument as: `std::string` for a character pointer if the function
/// accepts a `std::string`, otherwise the type of the argument.
template <class Fn, class Arg>
using CommandArgumentImp = std::conditional_t<
    IsCharacterPointerImp<Arg> &&
        std::is_convertible_v<std::string&, typename CommandParameterImp<Fn>::Type>,
    std::string, Arg>;

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

}  // namespace zel
