#include "zel/variant/VariantValue.h"

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"

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

namespace {

// Returns the count, at most INT_MAX.
int ToInt(std::size_t count) {
    return static_cast<int>(std::min<std::size_t>(count, std::numeric_limits<int>::max()));
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

}  // namespace

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

template <class T>
void Variant<T>::SetMinimumValue() {
    SetLimits(m_value, Variant_GetLimitsImp<typename ValueTraits<T>::Element>::GetMin);
}

template <class T>
void Variant<T>::SetMaximumValue() {
    SetLimits(m_value, Variant_GetLimitsImp<typename ValueTraits<T>::Element>::GetMax);
}

#define ZEL_INSTANTIATE_VALUES(T, ...)                                   \
    template class Variant_GetLimitsImp<T>;                              \
    template void SetNumberOfElementsImp(std::vector<T>*, unsigned int); \
    template class Variant<T>;                                           \
    template class Variant<std::vector<T>>;
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_VALUES)
#undef ZEL_INSTANTIATE_VALUES

}  // namespace zel
