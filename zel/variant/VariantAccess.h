#pragma once

#include "zel/foundation/Log.h"
#include "zel/variant/VariantValue.h"

#include <utility>

namespace zel {

// The log area of the whole family.
extern const LogArea s_variantLog;

// What the family's own code reaches inside a variant.
class VariantAccess {
public:
    static CriticalSection* GetLock(const VariantBase& variant) { return &variant.m_cs; }
    static bool IsFixed(const VariantBase& variant) { return variant.m_isFixed; }
    static void SetFixed(VariantBase& variant, bool isFixed) { variant.m_isFixed = isFixed; }

    // The value of a Variant<T>, null for any other variant. For use under the variant's lock.
    template <class T>
    static T* FindValue(VariantBase* variant) {
        return variant->m_valueCode == ValueTraits<T>::Code
                   ? &static_cast<Variant<T>*>(variant)->m_value
                   : nullptr;
    }

    template <class T>
    static const T* FindValue(const VariantBase* variant) {
        return FindValue<T>(const_cast<VariantBase*>(variant));
    }

    // The identifier by which the three forms choose their road: whatever has the fixed flag goes
    // the way of a variable-sized array, and a scalar that has it fails there.
    static int GetFormID(const VariantBase& variant) {
        const int id = variant.GetTypeID();
        return IsFixed(variant) ? (id & ~TypeID::FIXED_ARRAY) | TypeID::VARIABLE_ARRAY : id;
    }

    // SetValue, which takes the array over where it can.
    template <class E>
    static bool StoreArray(VariantBase* variant, std::vector<E>&& values, bool throwOnError) {
        CriticalSectionLock lock(GetLock(*variant));
        std::vector<E>* const target = FindValue<std::vector<E>>(variant);
        if (target == nullptr || IsFixed(*variant)) {
            return variant->SetValue(values, throwOnError);
        }
        *target = std::move(values);
        return true;
    }

    // The same for text that a form has read: text that doesn't fit an array of numbers throws
    // StringUtilsEx and leaves the variant as it was.
    static bool StoreArray(VariantBase* variant, std::vector<std::string>&& values,
                           bool throwOnError);
};

// Assigns the whole value or, when memory runs out, nothing: a vector assigns string by string.
template <class T>
void AssignWhole(T& target, const T& value) {
    if constexpr (std::is_same_v<T, std::vector<std::string>>) {
        target = T(value);
    } else {
        target = value;
    }
}

// Calls `visit` with a tag of the element type that `code` stands for, and gives its result;
// `otherwise` if there is none.
template <class T>
struct ElementTag {
    using Element = T;
};

template <class Result, class Visit>
Result VisitElementType(int code, Result otherwise, Visit visit) {
    switch (code) {
#define ZEL_VISIT(T, Name, Code, Spelling) \
    case Code:                             \
        return visit(ElementTag<T>());
        ZEL_FOR_EACH_ELEMENT(ZEL_VISIT)
#undef ZEL_VISIT
        default:
            return otherwise;
    }
}

}  // namespace zel
