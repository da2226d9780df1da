#include "zel/core/StringUtils.h"
#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"

#include <cmath>
#include <limits>
#include <utility>

// Access to the whole value of a variant in ways that go beyond SetValue and GetValue.

namespace zel {

namespace {

// Returns whether GetValue converts a variant with this type ID to T.
template <class T>
bool MayFetch(int id) {
    if constexpr (std::is_same_v<T, std::string>) {
        return true;
    }
    constexpr int code = ValueTraits<T>::Code;
    const bool isArray = (id & TypeID::ARRAY_BITS) != 0;
    const bool isConverted = (code & TypeID::STRING) != 0 ||
                             ((id & TypeID::STRING) == 0 && TypeID::MayConvert(id, code));
    return isArray == ValueTraits<T>::IsArray && isConverted;
}

// Returns whether `value` lies in the range of an integer type and has no fraction. The upper limit
// may not be exact in Float; the number after it is.
template <class Integer, class Float>
bool IsInteger(Float value) {
    constexpr Float above = static_cast<Float>(std::numeric_limits<Integer>::max() / 2 + 1) * 2;
    constexpr Float lowest = static_cast<Float>(std::numeric_limits<Integer>::min());
    return value >= lowest && value < above && std::trunc(value) == value;
}

// Converts a number that the target type has. Returns false, with `target` unchanged, for others.
template <class Target, class Source>
bool ConvertIfExact(Source source, Target& target) {
    if constexpr (std::is_integral_v<Target> && std::is_integral_v<Source>) {
        if (!std::in_range<Target>(source)) {
            return false;
        }
    } else if constexpr (std::is_integral_v<Target>) {
        if (!IsInteger<Target>(source)) {
            return false;
        }
    } else if constexpr (std::is_integral_v<Source>) {
        const auto rounded = static_cast<Target>(source);
        if (!IsInteger<Source>(rounded) || static_cast<Source>(rounded) != source) {
            return false;
        }
    } else if constexpr (sizeof(Target) < sizeof(Source)) {
        constexpr Source most = std::numeric_limits<Target>::max();
        const bool isInRange = std::abs(source) <= most || !std::isfinite(source);
        if (!isInRange || (static_cast<Target>(source) != source && !std::isnan(source))) {
            return false;
        }
    }
    target = static_cast<Target>(source);
    return true;
}

}  // namespace

template <class T>
T VariantBase::FetchOrThrow() const {
    if (!MayFetch<T>(GetTypeID())) {
        zel::Throw<VariantEx>(s_variantLog, "[VariantBase::GetValueAs] A variant of type ",
                              GetTypeName(), " can't be read as ", GetReadableName<T>());
    }
    T value{};
    FetchValue(&value, true);
    return value;
}

template <class T>
bool VariantBase::MoveValue(T& value, bool throwOnError) {
    T previous;  // Freed after the lock is released.
    CriticalSectionLock lock(&m_cs);
    T* const own = VariantAccess::FindValue<T>(*this);
    const std::size_t count = m_isFixed ? VariantAccess::CountElements(*this) : 0;
    if constexpr (ValueTraits<T>::IsArray) {
        if (own != nullptr && (count == 0 || count == value.size())) {
            previous = std::exchange(*own, std::move(value));
            return true;
        }
    } else if (own != nullptr && !m_isFixed) {
        previous = std::exchange(*own, std::move(value));
        return true;
    }
    return StoreValue(value, throwOnError);
}

template <class T>
bool VariantBase::StoreIfExact(T value, bool throwOnError) {
    CriticalSectionLock lock(&m_cs);
    const int code = VariantAccess::GetValueCode(*this);
    const bool isStored = VisitElementType(code, false, [&]<class E>(ElementTag<E>) {
        if constexpr (NumericElement<E>) {
            return ConvertIfExact(value, *VariantAccess::FindValue<E>(*this));
        } else {
            return false;
        }
    });
    if (!isStored && throwOnError) {
        zel::Throw<VariantEx>(s_variantLog, "[VariantBase::SetValueIfExact] A variant of type ",
                              GetTypeName(), " can't represent ",
                              StringUtils::NumberAsString(value));
    }
    return isStored;
}

#define ZEL_INSTANTIATE_READING(T, ...)                            \
    template ZEL_ADVANCED_API T VariantBase::FetchOrThrow() const; \
    template ZEL_ADVANCED_API std::vector<T> VariantBase::FetchOrThrow() const;
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_READING)
#undef ZEL_INSTANTIATE_READING

#define ZEL_INSTANTIATE_MOVING(T, ...) \
    template ZEL_ADVANCED_API bool VariantBase::MoveValue(std::vector<T>&, bool);
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_MOVING)
#undef ZEL_INSTANTIATE_MOVING
template ZEL_ADVANCED_API bool VariantBase::MoveValue(std::string&, bool);

#define ZEL_INSTANTIATE_IF_EXACT(T, ...) \
    template ZEL_ADVANCED_API bool VariantBase::StoreIfExact(T, bool);
ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_INSTANTIATE_IF_EXACT)
#undef ZEL_INSTANTIATE_IF_EXACT

}  // namespace zel
