#pragma once

#include "zel/variant/VariantConversionImp.h"

#include <iterator>

// SetValue and GetValue of VariantBase: the one gate through which values enter and leave.

namespace zel {

// How many elements a caller's value has.
template <class T>
std::size_t CountElements(const T& value) {
    if constexpr (ValueTraits<T>::IsArray) {
        return value.size();
    } else {
        return 1;
    }
}

// The line of a caller whose numbers would have to become text, or the other way round.
template <class T>
void LogInvalidCall(const char* operation) {
    constexpr bool isArray = ValueTraits<T>::IsArray;
    const bool isSet = std::string_view(operation) == "SetValueImp";
    const char* const number = isArray
                                   ? (isSet ? "std::vector< SourceT >" : "std::vector< TargetT >")
                                   : (isSet ? "SourceT" : "TargetT");
    const char* const text = isArray ? "std::vector< std::string >" : "std::string";
    Log(s_variantLog, 3, "[VariantValueConverter< ", isSet ? number : text, ", ",
        isSet ? text : number, " >::", operation, "] Invalid call!");
}

// The type that a value of the caller's shape has in a variant with elements E.
template <class T, class E>
using SameShape = std::conditional_t<ValueTraits<T>::IsArray, std::vector<E>, E>;

template <class T>
bool SetConverted(VariantBase* variant, int elementCode, const T& value, bool throwOnError) {
    return VisitElementType(elementCode, false, [&](auto tag) {
        using E = typename decltype(tag)::Element;
        if constexpr (NumericElement<E>) {
            return VariantAccess::FindValue<SameShape<T, E>>(variant) != nullptr &&
                   VariantValueConverter<T, SameShape<T, E>>::SetValueImp(variant, value,
                                                                          throwOnError);
        } else {
            LogInvalidCall<T>("SetValueImp");
            return false;
        }
    });
}

template <class T>
bool GetConverted(const VariantBase* variant, int elementCode, T* value, bool throwOnError) {
    return VisitElementType(elementCode, false, [&](auto tag) {
        using E = typename decltype(tag)::Element;
        if constexpr (NumericElement<E>) {
            return VariantAccess::FindValue<SameShape<T, E>>(variant) != nullptr &&
                   VariantValueConverter<SameShape<T, E>, T>::GetValueImp(variant, value,
                                                                          throwOnError);
        } else {
            LogInvalidCall<T>("GetValueImp");
            return false;
        }
    });
}

// Text into numbers; those ahead of a text that is none are in `numbers` when this throws.
template <class E>
void ConvertTexts(const std::vector<std::string>& texts, std::vector<E>& numbers) {
    numbers.reserve(texts.size());
    for (const std::string& text : texts) {
        E number{};
        if (!StringUtils::NumberFromString(text, number, 0)) {
            StringUtils::ThrowEx("Conversion Failed");
        }
        numbers.push_back(number);
    }
}

template <>
inline bool SetConverted(VariantBase* variant, int elementCode,
                         const std::vector<std::string>& texts, bool) {
    return VisitElementType(elementCode, false, [&](auto tag) {
        using E = typename decltype(tag)::Element;
        if constexpr (NumericElement<E>) {
            if (auto* const values = VariantAccess::FindValue<std::vector<E>>(variant)) {
                values->reserve(texts.size());
                values->clear();
                ConvertTexts(texts, *values);
                return true;
            }
        }
        return false;
    });
}

template <>
inline bool GetConverted(const VariantBase* variant, int elementCode,
                         std::vector<std::string>* texts, bool) {
    return VisitElementType(elementCode, false, [&](auto tag) {
        using E = typename decltype(tag)::Element;
        if constexpr (NumericElement<E>) {
            if (auto* const values = VariantAccess::FindValue<std::vector<E>>(variant)) {
                std::vector<std::string> read;
                read.reserve(values->size());
                for (const E& value : *values) {
                    read.push_back(StringUtils::NumberAsString(value));
                }
                texts->insert(texts->end(), std::make_move_iterator(read.begin()),
                              std::make_move_iterator(read.end()));
                return true;
            }
        }
        return false;
    });
}

// Whether the rule of conversion is asked at all, and refuses: text is converted by other means.
template <class T>
bool IsRefused(int from, int to, int variantID) {
    return NumericElement<typename ValueTraits<T>::Element> && (variantID & TypeID::STRING) == 0 &&
           !TypeID::MayConvert(from, to);
}

inline bool SetText(VariantBase& variant, const std::string& value, bool throwOnError) {
    if (variant.ReadValueFromString(value, false)) {
        return true;
    }
    if (throwOnError) {
        Throw<VariantEx>(s_variantLog, "Unable to convert to variant of type ",
                         variant.GetTypeName(), " from string: ", value);
    }
    return false;
}

// A value that isn't in the variant's own type. Under the variant's lock.
template <class T>
bool SetOtherType(VariantBase& variant, const T& value, bool throwOnError) {
    constexpr int sourceID = ValueTraits<T>::Code;
    const int id = variant.GetTypeID();
    if (((id & TypeID::ARRAY_BITS) != 0) != ValueTraits<T>::IsArray) {
        return Fail<VariantEx>(
            s_variantLog, throwOnError,
            "[VariantBase::SetValue] Source and target cannot agree on array type (sourceID=",
            sourceID, "/targetID=", id, ")");
    }
    if (IsRefused<T>(sourceID, id, id)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantBase::SetValue] Unable to Convert to variant type ",
                               variant.GetTypeName(), " from ", typeid(T).name(), "!");
    }
    if (!SetConverted(&variant, id & ~TypeID::ARRAY_BITS, value, throwOnError)) {
        return Fail<VariantEx>(
            s_variantLog, throwOnError,
            "[VariantBase::SetValue] Unable to secondarily convert to variant type ",
            variant.GetTypeName(), " from ", typeid(T).name(), "!");
    }
    if (s_variantLog.IsEnabled(5)) {
        Log(s_variantLog, 5,
            "[VariantBase::SetValue] Able to secondarily convert variant value of type ",
            variant.GetTypeName(), " from object of type ", typeid(T).name());
    }
    return true;
}

// Stores a number where it fits without a converter's help, which only adds its lines at level 5.
template <class T>
bool StoreWidened(VariantBase& variant, [[maybe_unused]] const T& value) {
    if constexpr (NumericElement<T>) {
        return !s_variantLog.IsEnabled(5) &&
               VisitElementType(variant.GetTypeID(), false, [&](auto tag) {
                   using E = typename decltype(tag)::Element;
                   if constexpr (NumericElement<E>) {
                       E* const target = VariantAccess::FindValue<E>(&variant);
                       if (target != nullptr &&
                           TypeID::MayConvert(ElementTraits<T>::Code, ElementTraits<E>::Code)) {
                           *target = CastNumber<E>(value);
                           return true;
                       }
                   }
                   return false;
               });
    }
    return false;
}

template <class T>
bool VariantBase::StoreValue(const T& value, bool throwOnError) {
    if constexpr (std::is_same_v<T, std::string>) {
        return SetText(*this, value, throwOnError);
    } else {
        CriticalSectionLock lock(&m_cs);
        const int count = m_isFixed ? GetNumberOfElements() : 0;
        if (count >= 1 && static_cast<std::size_t>(count) != CountElements(value)) {
            return Fail<VariantEx>(
                s_variantLog, throwOnError, "[VariantBase::SetValue] Source array has ",
                CountElements(value), " elements, but variant is fixed at ", count, " elements");
        }
        if (T* const own = VariantAccess::FindValue<T>(this)) {
            AssignWhole(*own, value);
            return true;
        }
        return StoreWidened(*this, value) || SetOtherType(*this, value, throwOnError);
    }
}

// The level-5 line of a value that isn't in the caller's type already. It allocates nothing, as the
// caller has the value by now.
inline void LogFetched(const VariantBase& variant, const std::type_info& target) {
    if (s_variantLog.IsEnabled(5)) {
        Log(s_variantLog, 5,
            "[VariantBase::GetValue] Able to secondarily convert variant value of type ",
            variant.GetTypeInfo().name(), " to object of type ", target.name());
    }
}

// Under the variant's lock.
template <class T>
bool GetOtherType(const VariantBase& variant, T* value, bool throwOnError) {
    constexpr int targetID = ValueTraits<T>::Code;
    const int id = variant.GetTypeID();
    if (((id & TypeID::ARRAY_BITS) != 0) != ValueTraits<T>::IsArray) {
        return Fail<VariantEx>(
            s_variantLog, throwOnError,
            "[VariantBase::GetValue] Source and target cannot agree on array type (sourceID=", id,
            "/targetID=", targetID, ")");
    }
    if (IsRefused<T>(id, targetID, id)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantBase::GetValue] Unable to convert from variant type ",
                               variant.GetType(), " to ", typeid(T).name(), "!");
    }
    if (!GetConverted(&variant, id & ~TypeID::ARRAY_BITS, value, throwOnError)) {
        return Fail<VariantEx>(
            s_variantLog, throwOnError,
            "[VariantBase::GetValue] Unable to secondarily convert variant value of type ",
            variant.GetType(), " to object of type ", typeid(T).name());
    }
    return true;
}

template <class T>
bool VariantBase::FetchValue(T* value, bool throwOnError) const {
    CriticalSectionLock lock(&m_cs);
    if (const T* const own = VariantAccess::FindValue<T>(this)) {
        AssignWhole(*value, *own);
        return true;
    }
    if constexpr (std::is_same_v<T, std::string>) {
        *value = WriteValueToString(false);
    } else if (!GetOtherType(*this, value, throwOnError)) {
        return false;
    }
    LogFetched(*this, typeid(T));
    return true;
}

}  // namespace zel
