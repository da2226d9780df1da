#pragma once

#include "zel/variant/Variant.h"

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

// Small distinct values that every type has: 1, 2, 3 and "v1", "v2", "v3".
template <class E>
E Sample(int number) {
    if constexpr (NumericElement<E>) {
        return static_cast<E>(number);
    } else {
        return "v" + std::to_string(number);
    }
}

}  // namespace zel::test
