#pragma once

#include "zel/core/StringUtils.h"
#include "zel/variant/ElementTypes.h"

#include <charconv>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace zel {

// The type an element is read and written as: an 8-bit number is widened to 16 bits, because the
// conversion functions take 8-bit types for characters.
template <class T>
using TextType = std::conditional_t<std::is_same_v<T, unsigned char>, unsigned short,
                                    std::conditional_t<std::is_same_v<T, signed char>, short, T>>;

// Parses a decimal integer without a plus, which is what texts usually are, in less time than the
// general function. Returns false, with `value` unchanged, for anything else.
template <class T>
bool ParsePlainInteger(std::string_view text, T& value) {
    if constexpr (std::is_integral_v<T>) {
        const char* const end = text.data() + text.size();
        T number{};
        const auto [stop, error] = std::from_chars(text.data(), end, number);
        if (error == std::errc() && stop == end) {
            value = number;
            return true;
        }
    }
    return false;
}

// Parses the text of one element. Returns false if a number can't be read.
template <class T>
bool ParseElement(std::string_view text, TextType<T>& value) {
    if constexpr (NumericElement<T>) {
        return ParsePlainInteger(text, value) || StringUtils::Imp::ReadNumber(text, value, 0);
    } else {
        value = text;
        return true;
    }
}

}  // namespace zel
