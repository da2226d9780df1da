#pragma once

#include "zel/variant/Variant.h"

#include "fuzz/Target.h"

#include <sstream>

namespace zel::fuzz {

using Value = RCPtr<VariantBase>;

// Returns a variant of one of the 22 types, or a fixed-size array, selected by the next byte. Its
// value differs from the default, so that a change is detected.
inline Value TakeVariant(Input& input) {
    static constexpr const char* elements[] = {
#define ZEL_NAME(Type, Name, ...) Name,
        ZEL_FOR_EACH_ELEMENT(ZEL_NAME)
#undef ZEL_NAME
    };
    static constexpr const char* shapes[] = {"", "[]", "[3]"};
    static constexpr const char* texts[] = {"7", "7`8", "7`8`9"};
    const unsigned choice = input.TakeByte();
    const unsigned shape = choice / 16 % 3;
    const Value value = VariantBase::CreateByTypeName(
        std::string(elements[choice % std::size(elements)]) + shapes[shape]);
    Require(value->ReadValueFromString(texts[shape], false), "plain numbers are valid values");
    return value;
}

// Returns the value as bytes, which are equal only for identical values.
inline std::string BytesOf(const Value& value) {
    std::ostringstream out;
    Require(value->WriteValueToStream(out), "every value has a stream form");
    return out.str();
}

}  // namespace zel::fuzz
