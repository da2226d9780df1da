#pragma once

#include "zel/variant/Variant.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace zel::test {

// Calls a generic callable once for each element type.
template <class Call>
void ForEachElement(Call call) {
#define ZEL_CALL(T, ...) call(ElementTraits<T>());
    ZEL_FOR_EACH_ELEMENT(ZEL_CALL)
#undef ZEL_CALL
}

// Returns a value that every type can hold: the number, or its text.
template <class E>
E Sample(int number) {
    if constexpr (NumericElement<E>) {
        return static_cast<E>(number);
    } else {
        return std::to_string(number);
    }
}

// Returns the variant that a type name, a blank and the text of a value describe.
inline RCPtr<VariantBase> MakeVariant(const std::string& description) {
    const std::size_t blank = description.find(' ');
    RCPtr<VariantBase> variant = VariantBase::CreateByTypeName(description.substr(0, blank));
    EXPECT_TRUE(variant->ReadValueFromString(description.substr(blank + 1), false)) << description;
    return variant;
}

// Returns the bytes of the stream form.
inline std::string StreamForm(const RCPtr<VariantBase>& variant) {
    std::ostringstream out;
    EXPECT_TRUE(variant->WriteValueToStream(out));
    return out.str();
}

}  // namespace zel::test
