#include "zel/variant/VariantConversion.h"

#include "zel/core/StringUtils.h"
#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantMessages.h"
#include "zel/variant/VariantNumberCast.h"

#include <algorithm>
#include <iterator>

// SetValue and GetValue of VariantBase, through which every value enters and leaves a variant.

namespace zel {

namespace {

using Texts = std::vector<std::string>;

template <class T>
constexpr bool IS_NUMERIC = NumericElement<typename ValueTraits<T>::Element>;

template <class T>
std::size_t CountElements(const T& value) {
    if constexpr (ValueTraits<T>::IsArray) {
        return value.size();
    } else {
        return 1;
    }
}

// Converts texts to numbers. Returns false at the first that is not a number; `numbers` then has
// those before it.
template <class T>
bool ConvertTexts(const Texts& texts, std::vector<T>& numbers) {
    numbers.reserve(texts.size());
    for (const std::string& text : texts) {
        T number{};
        if (!StringUtils::NumberFromString(text, number, 0)) {
            return false;
        }
        numbers.push_back(number);
    }
    return true;
}

// The functions below require the variant's lock. The Store functions set a variant with elements E
// to a value of another type, the Fetch functions do the reverse; both return false if the variant
// isn't what its type ID says.

template <class E, class T>
bool StoreNumber(VariantBase& variant, T value) {
    E* const own = VariantAccess::FindValue<E>(variant);
    if (own == nullptr) {
        return false;
    }
    *own = CastNumber<E>(value);
    LogNumberStored(variant);
    return true;
}

template <class E>
bool StoreTexts(VariantBase& variant, const Texts& texts) {
    std::vector<E>* const own = VariantAccess::FindValue<std::vector<E>>(variant);
    if (own == nullptr) {
        return false;
    }
    std::vector<E> numbers;
    const bool areNumbers = ConvertTexts(texts, numbers);
    *own = std::move(numbers);
    if (!areNumbers) {
        StringUtils::ThrowEx("Conversion Failed");
    }
    return true;
}

template <class E, class T>
bool FetchNumber(const VariantBase& variant, T* value) {
    const E* const own = VariantAccess::FindValue<E>(variant);
    if (own != nullptr) {
        *value = CastNumber<T>(*own);
    }
    return own != nullptr;
}

template <class E, class T>
bool FetchNumbers(const VariantBase& variant, std::vector<T>* values) {
    const std::vector<E>* const own = VariantAccess::FindValue<std::vector<E>>(variant);
    if (own == nullptr) {
        return false;
    }
    values->resize(values->size() + own->size());
    std::transform(own->begin(), own->end(), values->end() - std::ssize(*own), CastNumber<T, E>);
    return true;
}

template <class E>
bool FetchTexts(const VariantBase& variant, Texts* texts) {
    const std::vector<E>* const own = VariantAccess::FindValue<std::vector<E>>(variant);
    if (own == nullptr) {
        return false;
    }
    Texts converted;
    converted.reserve(own->size());
    for (const E element : *own) {
        converted.push_back(StringUtils::NumberAsString(element));
    }
    texts->insert(texts->end(), std::make_move_iterator(converted.begin()),
                  std::make_move_iterator(converted.end()));
    return true;
}

// A number isn't converted to a string, nor a string to a number.
template <class T>
bool RejectStore() {
    if constexpr (IS_NUMERIC<T>) {
        Log(s_variantLog, 3,
            ValueTraits<T>::IsArray
                ? "[VariantValueConverter< std::vector< SourceT >, std::vector< std::string > "
                  ">::SetValueImp] Invalid call!"
                : "[VariantValueConverter< SourceT, std::string >::SetValueImp] Invalid call!");
    }
    return false;
}

template <class T>
bool RejectFetch() {
    if constexpr (IS_NUMERIC<T>) {
        Log(s_variantLog, 3,
            ValueTraits<T>::IsArray
                ? "[VariantValueConverter< std::vector< std::string >, std::vector< TargetT > "
                  ">::GetValueImp] Invalid call!"
                : "[VariantValueConverter< std::string, TargetT >::GetValueImp] Invalid call!");
    }
    return false;
}

// Requires: variant and value are both scalars or both arrays, and the rule of conversion allows
// the two types.
template <class T>
bool StoreConverted(VariantBase& variant, int id, const T& value, bool throwOnError) {
    return VisitElementType(id & ~TypeID::ARRAY_BITS, false, [&]<class E>(ElementTag<E>) {
        if constexpr (!NumericElement<E>) {
            return RejectStore<T>();
        } else if constexpr (std::is_same_v<T, Texts>) {
            return StoreTexts<E>(variant, value);
        } else if constexpr (ValueTraits<T>::IsArray) {
            using Converter = VariantValueConverter<T, std::vector<E>>;
            return VariantAccess::FindValue<std::vector<E>>(variant) != nullptr &&
                   Converter::SetValueImp(&variant, value, throwOnError);
        } else {
            return StoreNumber<E>(variant, value);
        }
    });
}

template <class T>
bool FetchConverted(const VariantBase& variant, int id, T* value) {
    return VisitElementType(id & ~TypeID::ARRAY_BITS, false, [&]<class E>(ElementTag<E>) {
        if constexpr (!NumericElement<E>) {
            return RejectFetch<T>();
        } else if constexpr (std::is_same_v<T, Texts>) {
            return FetchTexts<E>(variant, value);
        } else if constexpr (ValueTraits<T>::IsArray) {
            return FetchNumbers<E>(variant, value);
        } else {
            return FetchNumber<E>(variant, value);
        }
    });
}

// Returns whether the conversion rule rejects the two types. It doesn't apply to strings.
template <class T>
bool IsRejected(int from, int to, int variantID) {
    return IS_NUMERIC<T> && (variantID & TypeID::STRING) == 0 && !TypeID::MayConvert(from, to);
}

bool SetText(VariantBase& variant, const std::string& value, bool throwOnError) {
    const bool isSet = variant.ReadValueFromString(value, false);
    if (!isSet && throwOnError) {
        Throw<VariantEx>(s_variantLog, "Unable to convert to variant of type ",
                         variant.GetTypeName(), " from string: ", value);
    }
    return isSet;
}

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
    if (IsRejected<T>(sourceID, id, id)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantBase::SetValue] Unable to Convert to variant type ",
                               variant.GetTypeName(), " from ", typeid(T).name(), "!");
    }
    if (!StoreConverted(variant, id, value, throwOnError)) {
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
    if (IsRejected<T>(id, targetID, id)) {
        return Fail<VariantEx>(s_variantLog, throwOnError,
                               "[VariantBase::GetValue] Unable to convert from variant type ",
                               variant.GetType(), " to ", typeid(T).name(), "!");
    }
    if (!FetchConverted(variant, id, value)) {
        return Fail<VariantEx>(
            s_variantLog, throwOnError,
            "[VariantBase::GetValue] Unable to secondarily convert variant value of type ",
            variant.GetType(), " to object of type ", typeid(T).name());
    }
    return true;
}

}  // namespace

template <class T>
bool VariantBase::StoreValue(const T& value, bool throwOnError) {
    if constexpr (std::is_same_v<T, std::string>) {
        return SetText(*this, value, throwOnError);
    } else {
        CriticalSectionLock lock(&m_cs);
        const std::size_t count = m_isFixed ? VariantAccess::CountElements(*this) : 0;
        if (count != 0 && count != CountElements(value)) {
            return Fail<VariantEx>(
                s_variantLog, throwOnError, "[VariantBase::SetValue] Source array has ",
                CountElements(value), " elements, but variant is fixed at ", count, " elements");
        }
        if (T* const own = VariantAccess::FindValue<T>(*this)) {
            AssignWhole(*own, value);
            return true;
        }
        return SetOtherType(*this, value, throwOnError);
    }
}

template <class T>
bool VariantBase::FetchValue(T* value, bool throwOnError) const {
    CriticalSectionLock lock(&m_cs);
    if (const T* const own = VariantAccess::FindValue<T>(*this)) {
        AssignWhole(*value, *own);
        return true;
    }
    if constexpr (std::is_same_v<T, std::string>) {
        if (!VariantAccess::WriteNumber(*this, *value)) {
            *value = WriteValueToString(false);
        }
    } else if (!GetOtherType(*this, value, throwOnError)) {
        return false;
    }
    // GetType could run out of memory after the value was stored.
    if (s_variantLog.IsEnabled(5)) {
        Log(s_variantLog, 5,
            "[VariantBase::GetValue] Able to secondarily convert variant value of type ",
            GetTypeInfo().name(), " to object of type ", typeid(T).name());
    }
    return true;
}

bool VariantAccess::Store(VariantBase& variant, Texts&& values, bool throwOnError) {
    const bool isFixed = IsFixed(variant);
    Texts* const own = FindValue<Texts>(variant);
    if (own != nullptr && !isFixed) {
        *own = std::move(values);
        return true;
    }
    // On failure SetValue keeps the numbers before the bad text, so all texts are checked first.
    // A wrong count is left to SetValue, which rejects it before it parses a text.
    const std::size_t count = isFixed ? CountElements(variant) : 0;
    if (count == 0 || count == values.size()) {
        const int elementCode = variant.GetTypeID() & TypeID::ELEMENT_BITS;
        VisitElementType(elementCode, false, [&]<class E>(ElementTag<E>) {
            if constexpr (NumericElement<E>) {
                std::vector<E> discarded;
                if (FindValue<std::vector<E>>(variant) != nullptr &&
                    !ConvertTexts(values, discarded)) {
                    StringUtils::ThrowEx("Conversion Failed");
                }
            }
            return true;
        });
    }
    return variant.SetValue(values, throwOnError);
}

#define ZEL_INSTANTIATE_VALUE_ACCESS(T, ...)                                             \
    template ZEL_ADVANCED_API bool VariantBase::StoreValue(const T&, bool);              \
    template ZEL_ADVANCED_API bool VariantBase::StoreValue(const std::vector<T>&, bool); \
    template ZEL_ADVANCED_API bool VariantBase::FetchValue(T*, bool) const;              \
    template ZEL_ADVANCED_API bool VariantBase::FetchValue(std::vector<T>*, bool) const;
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_VALUE_ACCESS)
#undef ZEL_INSTANTIATE_VALUE_ACCESS

}  // namespace zel
