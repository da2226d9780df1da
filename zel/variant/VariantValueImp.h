#pragma once

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantComparisonImp.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace zel {

template <VariantElement T>
void Variant_GetLimitsImp<T>::GetMax(T& value) {
    if constexpr (NumericElement<T>) {
        value = std::numeric_limits<T>::max();
    } else {
        std::fill(value.begin(), value.end(), '\xFF');
    }
}

template <VariantElement T>
void Variant_GetLimitsImp<T>::GetMin(T& value) {
    if constexpr (NumericElement<T>) {
        value = std::numeric_limits<T>::min();
    } else {
        std::fill(value.begin(), value.end(), '\x01');
    }
}

template <VariantElement T>
void SetNumberOfElementsImp(std::vector<T>* values, unsigned int count) {
    values->resize(count);
}

// What an int can tell of a count.
inline int ToInt(std::size_t count) {
    return static_cast<int>(std::min<std::size_t>(count, std::numeric_limits<int>::max()));
}

template <class T>
Variant<T>& Variant<T>::operator=(const Variant& other) {
    AssignWhole(m_value, other.m_value);
    VariantBase::operator=(other);
    return *this;
}

template <class T>
Variant<T>::~Variant() = default;

template <class T>
std::string Variant<T>::GetType() const {
    return typeid(T).name();
}

template <class T>
const std::type_info& Variant<T>::GetTypeInfo() const {
    return typeid(T);
}

template <class T>
int Variant<T>::GetTypeID() const {
    if constexpr (ValueTraits<T>::IsArray) {
        const int code = ElementTraits<typename ValueTraits<T>::Element>::Code;
        return code | (m_isFixed ? TypeID::FIXED_ARRAY : TypeID::VARIABLE_ARRAY);
    } else {
        return ElementTraits<T>::Code;
    }
}

template <class T>
int Variant<T>::GetNumberOfElements() const {
    CriticalSectionLock lock(&m_cs);
    if constexpr (ValueTraits<T>::IsArray) {
        return ToInt(m_value.size());
    } else {
        return 1;
    }
}

template <class T>
void Variant<T>::SetNumberOfElements([[maybe_unused]] unsigned int count) {
    CriticalSectionLock lock(&m_cs);
    if constexpr (ValueTraits<T>::IsArray) {
        SetNumberOfElementsImp(&m_value, count);
    }
}

template <class T>
int Variant<T>::GetSizeOfElement() const {
    return static_cast<int>(sizeof(typename ValueTraits<T>::Element));
}

template <class T>
int Variant<T>::GetSize() const {
    CriticalSectionLock lock(&m_cs);
    if constexpr (NumericElement<T>) {
        return static_cast<int>(sizeof m_value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return ToInt(m_value.size());
    } else if constexpr (std::is_same_v<T, std::vector<std::string>>) {
        const auto add = [](std::size_t sum, const std::string& text) { return sum + text.size(); };
        return ToInt(std::accumulate(m_value.begin(), m_value.end(), std::size_t(0), add));
    } else {
        return ToInt(m_value.size() * sizeof(typename ValueTraits<T>::Element));
    }
}

template <class T>
bool Variant<T>::GetValueAsDouble([[maybe_unused]] double* value, bool throwOnError) const {
    if constexpr (NumericElement<T>) {
        if (value != nullptr) {
            *value = static_cast<double>(m_value);
            return true;
        }
        if (throwOnError) {
            zel::Throw<VariantEx>(
                s_variantLog, "[Variant< ", ElementTraits<T>::Spelling,
                " >::GetValueAsDouble] Unable to convert NULL pointer to double!");
        }
    } else if (throwOnError) {
        zel::Throw<VariantEx>(s_variantLog, "Unable to convert from ", GetType(), " to double!");
    }
    return false;
}

template <class T>
RCPtr<VariantBase> Variant<T>::Clone() const {
    CriticalSectionLock lock(&m_cs);
    return new Variant<T>(m_value, m_isFixed);
}

// Applies a limit to the value or to each of its elements.
template <class T, class SetLimit>
void SetLimits(T& value, SetLimit setLimit) {
    if constexpr (ValueTraits<T>::IsArray) {
        std::for_each(value.begin(), value.end(), setLimit);
    } else {
        setLimit(value);
    }
}

template <class T>
void Variant<T>::SetMinimumValue() {
    SetLimits(m_value, Variant_GetLimitsImp<typename ValueTraits<T>::Element>::GetMin);
}

template <class T>
void Variant<T>::SetMaximumValue() {
    SetLimits(m_value, Variant_GetLimitsImp<typename ValueTraits<T>::Element>::GetMax);
}

// Reads `other` before this variant's lock is taken: the two are never held together.
template <class T>
template <class Relation>
bool Variant<T>::Compare(const RCPtr<VariantBase>& other, const char* operation, bool throwOnError,
                         Relation relation) const {
    if (!other) {
        if (throwOnError) {
            zel::Throw<VariantEx>(s_variantLog, "[Variant< T >::", operation,
                                  "] Invalid comparison variant argument!");
        }
        return false;
    }
    T value{};
    if (!other->GetValue(&value, throwOnError)) {
        return false;
    }
    CriticalSectionLock lock(&m_cs);
    return relation(m_value, value);
}

#define ZEL_DEFINE_COMPARISON(Operation, Relate)                                             \
    template <class T>                                                                       \
    bool Variant<T>::Operation(RCPtr<VariantBase> other, bool throwOnError,                  \
                               [[maybe_unused]] bool expandSingle,                           \
                               [[maybe_unused]] bool requirement) const {                    \
        return Compare(other, #Operation, throwOnError, [&](const T& left, const T& right) { \
            if constexpr (ValueTraits<T>::IsArray) {                                         \
                return ComparePairs<Relate>(left, right, expandSingle, requirement);         \
            } else {                                                                         \
                return Relate::Holds(left, right);                                           \
            }                                                                                \
        });                                                                                  \
    }
ZEL_DEFINE_COMPARISON(IsEqual, Equal)
ZEL_DEFINE_COMPARISON(IsLessThan, Less)
ZEL_DEFINE_COMPARISON(IsLessThanOrEqualTo, LessOrEqual)
ZEL_DEFINE_COMPARISON(IsGreaterThan, Greater)
ZEL_DEFINE_COMPARISON(IsGreaterThanOrEqualTo, GreaterOrEqual)
#undef ZEL_DEFINE_COMPARISON

}  // namespace zel
