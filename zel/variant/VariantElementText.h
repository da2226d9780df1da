#pragma once

#include "zel/core/StringUtils.h"
#include "zel/variant/ElementTypes.h"

#include <string_view>
#include <type_traits>

namespace zel {

// The type an element is read and written as: an 8-bit number is widened to 16 bits, because the
// conversion functions take 8-bit types for characters.
template <class T>
using TextType = std::conditional_t<std::is_same_v<T, unsigned char>, unsigned short,
                                    std::conditional_t<std::is_same_v<T, signed char>, short, T>>;

// Parses the text of one element. Returns false if a number can't be read.
template <class T>
bool ParseElement(std::string_view text, TextType<T>& value) {
    if constexpr (NumericElement<T>) {
        return StringUtils::Imp::ReadNumber(text, value, 0);
    } else {
        value = text;
        return true;
    }
}

}  // namespace zel
