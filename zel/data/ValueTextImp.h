#pragma once

#include "zel/core/StringUtils.h"
#include "zel/foundation/Export.h"

#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace zel::Imp {

ZEL_ADVANCED_API bool ReadBool(std::string_view text, bool& value) noexcept;

// Sets `value` to the number, `bool` or string that a text of a tree or a table represents. Returns
// false, with `value` unchanged, if the text is no such value.
template <class T>
bool ReadValue(const std::string& text, T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return ReadBool(text, value);
    } else {
        return StringUtils::NumberFromString(text, value, 0);
    }
}

// Returns the words for the values of a type in a message, such as "a number".
template <class T>
std::string DescribeValues() {
    if constexpr (std::is_same_v<T, bool>) {
        return "true or false";
    } else if constexpr (std::is_integral_v<T>) {
        using Limits = std::numeric_limits<T>;
        return "an integer from " + StringUtils::NumberAsString(Limits::min()) + " to " +
               StringUtils::NumberAsString(Limits::max());
    } else {
        return "a number";
    }
}

// The type of a value whose default is a T: a string for any text.
template <class T>
using ValueOf =
    std::conditional_t<std::is_convertible_v<const T&, std::string_view>, std::string, T>;

}  // namespace zel::Imp
