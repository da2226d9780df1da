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

// Returns a small value that every type can hold: the number, or "v" and the number.
template <class E>
E Sample(int number) {
    if constexpr (NumericElement<E>) {
        return static_cast<E>(number);
    } else {
        return "v" + std::to_string(number);
    }
}

// Returns a variant of the type with the value that the text is read as.
inline RCPtr<VariantBase> MakeVariant(const std::string& type, const std::string& text) {
    RCPtr<VariantBase> variant = VariantBase::CreateByTypeName(type);
    EXPECT_TRUE(variant->ReadValueFromString(text, false)) << type << ' ' << text;
    return variant;
}

// Returns the bytes of the stream form.
inline std::string StreamForm(const RCPtr<VariantBase>& variant) {
    std::ostringstream out;
    EXPECT_TRUE(variant->WriteValueToStream(out));
    return out.str();
}

}  // namespace zel::test
