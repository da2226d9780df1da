#pragma once

#include "zel/variant/VariantValue.h"

#include <utility>

namespace zel {

// Access to the inside of a variant for the module's own code.
class VariantAccess {
public:
    // Null, which CriticalSectionLock takes for no lock, if the variant is null.
    static CriticalSection* GetLock(const VariantBase* variant) {
        return variant != nullptr ? &variant->m_cs : nullptr;
    }

    static bool IsFixed(const VariantBase& variant) { return variant.m_isFixed; }
    static void SetFixed(VariantBase& variant, bool isFixed) { variant.m_isFixed = isFixed; }

    // Returns the number of elements, also if an int can't count them.
    static std::size_t CountElements(const VariantBase& variant);

    // Returns the type ID of the value, without the fixed flag; 0 for a user-defined class.
    static int GetValueCode(const VariantBase& variant) { return variant.m_valueCode; }

    // Returns the value of a Variant<T>, null for any other variant. Requires: the variant's lock
    // is held.
    template <class T>
    static T* FindValue(VariantBase& variant) {
        return variant.m_valueCode == ValueTraits<T>::Code
                   ? &static_cast<Variant<T>&>(variant).m_value
                   : nullptr;
    }

    template <class T>
    static const T* FindValue(const VariantBase& variant) {
        return FindValue<T>(const_cast<VariantBase&>(variant));
    }

    // Returns the variant's own value if it is a T, else its conversion to T, which is stored in
    // `converted`; null if GetValue rejects it. Requires: the variant's lock is held.
    template <class T>
    static const T* Fetch(const VariantBase& variant, T& converted) {
        if (const T* const own = FindValue<T>(variant)) {
            return own;
        }
        return variant.GetValue(&converted, false) ? &converted : nullptr;
    }

    // Sets `text` to the text form of a number and returns true; returns false, with `text`
    // unchanged, for any other variant. Needs no temporary string. Requires: the variant's lock is
    // held.
    static bool WriteNumber(const VariantBase& variant, std::string& text);

    // Moves `value` into the variant if types and sizes allow, else calls SetValue. Requires: the
    // variant's lock is held.
    template <class T>
    static bool Store(VariantBase& variant, T&& value, bool throwOnError) {
        T* const own = FindValue<T>(variant);
        if (own != nullptr && (!ValueTraits<T>::IsArray || !IsFixed(variant))) {
            *own = std::move(value);
            return true;
        }
        return variant.SetValue(value, throwOnError);
    }

    // As above, for strings that a form has read: if one doesn't fit an array of numbers, throws
    // StringUtilsEx and leaves the variant unchanged.
    static bool Store(VariantBase& variant, std::vector<std::string>&& values, bool throwOnError);
};

// Assigns the whole value or, if memory runs out, nothing: a vector assigns string by string.
template <class T>
void AssignWhole(T& target, const T& value) {
    if constexpr (std::is_same_v<T, std::vector<std::string>>) {
        target = T(value);
    } else {
        target = value;
    }
}

// Carries an element type to a generic lambda.
template <class T>
struct ElementTag {};

// Calls `visit` with the tag of the element type whose code is `code` and returns its result;
// returns `otherwise` if there is no such type.
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

// Dispatches a form: calls one of the two with the variant's element type. A fixed-size array is
// dispatched as a variable-size array, and so is a scalar with the fixed flag, which every array
// function rejects.
template <class Result, class Scalar, class Array>
Result VisitForm(const VariantBase& variant, Result otherwise, Scalar visitScalar,
                 Array visitArray) {
    const int id = variant.GetTypeID();
    const int elementCode = id & ~TypeID::ARRAY_BITS;
    if (VariantAccess::IsFixed(variant) || (id & TypeID::ARRAY_BITS) == TypeID::VARIABLE_ARRAY) {
        return VisitElementType(elementCode, otherwise, visitArray);
    }
    return (id & TypeID::ARRAY_BITS) == 0 ? VisitElementType(id, otherwise, visitScalar)
                                          : otherwise;
}

}  // namespace zel
