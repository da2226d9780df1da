#pragma once

#include "zel/core/StringUtils.h"
#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantText.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace zel::VariantText {

// An 8-bit number is read and written as one of 16 bits, so that nobody takes it for a character.
template <class T>
using Wide = std::conditional_t<std::is_same_v<T, unsigned char>, unsigned short,
                                std::conditional_t<std::is_same_v<T, signed char>, short, T>>;

template <class T>
inline constexpr bool IsByte = !std::is_same_v<T, Wide<T>>;

// What stands between the angle brackets of most messages.
template <class T>
inline constexpr const char* Tag = "T";
template <>
inline constexpr const char* Tag<unsigned char> = "::uint8_t";
template <>
inline constexpr const char* Tag<signed char> = "::int8_t";

template <class T>
bool ReadElement(std::string_view text, Wide<T>& value) {
    if constexpr (NumericElement<T>) {
        return StringUtils::Imp::ReadNumber(text, value, 0);
    } else {
        value = text;
        return true;
    }
}

template <class T>
void AppendElement(std::string& text, const T& value) {
    if constexpr (NumericElement<T>) {
        StringUtils::Imp::AppendNumber<Wide<T>>(text, value);
    } else {
        text += value;
    }
}

// Puts the elements behind `text` with the separator between them.
template <class T>
void AppendElements(std::string& text, const std::vector<T>& values) {
    for (const T& value : values) {
        if (&value != values.data()) {
            text += VariantBase::STRING_VECTOR_SEPARATOR;
        }
        AppendElement(text, value);
    }
}

// Numbers are made in pieces, as a string grows slowly by single ones.
template <NumericElement T>
void AppendElements(std::string& text, const std::vector<T>& values) {
    constexpr std::size_t longest = 32;
    char piece[4096];
    char* end = piece;
    for (const T& value : values) {
        if (static_cast<std::size_t>(piece + sizeof piece - end) < longest) {
            text.append(piece, end);
            end = piece;
        }
        end = std::to_chars(end, piece + sizeof piece, Wide<T>(value)).ptr;
        *end++ = VariantBase::STRING_VECTOR_SEPARATOR;
    }
    text.append(piece, values.empty() ? end : end - 1);
}

// Gives the tokens of a text one after the other; an empty text has none.
class Splitter {
public:
    explicit Splitter(std::string_view text) : m_rest(text), m_isAtEnd(text.empty()) {}

    std::size_t CountTokens() const {
        const char separator = VariantBase::STRING_VECTOR_SEPARATOR;
        const auto separators = std::count(m_rest.begin(), m_rest.end(), separator);
        return m_isAtEnd ? 0 : static_cast<std::size_t>(separators) + 1;
    }

    // Takes the tokens ahead that are numbers as most are: decimal digits, with a minus or without.
    template <class T>
    void TakePlainNumbers(std::vector<T>& values) {
        const char* next = m_rest.data();
        const char* const end = next + m_rest.size();
        while (!m_isAtEnd && BeginsPlainly<T>(next, end)) {
            Wide<T> value{};
            const auto [stop, error] = std::from_chars(next, end, value);
            if (error != std::errc() ||
                (stop != end && *stop != VariantBase::STRING_VECTOR_SEPARATOR)) {
                break;
            }
            values.push_back(static_cast<T>(value));
            m_isAtEnd = stop == end;
            next = stop + (m_isAtEnd ? 0 : 1);
        }
        m_rest = std::string_view(next, static_cast<std::size_t>(end - next));
    }

    bool IsAtEnd() const { return m_isAtEnd; }

    // There is a next token.
    std::string_view GetNext() {
        const std::size_t end = m_rest.find(VariantBase::STRING_VECTOR_SEPARATOR);
        const std::string_view token = m_rest.substr(0, end);
        m_isAtEnd = end == std::string_view::npos;
        m_rest.remove_prefix(m_isAtEnd ? m_rest.size() : end + 1);
        return token;
    }

private:
    // std::from_chars takes nothing but plain integers, but more than plain fractions.
    template <class T>
    static bool BeginsPlainly(const char* next, const char* end) {
        if constexpr (std::is_integral_v<T>) {
            return true;
        } else {
            const char* const digits = next + (next != end && *next == '-' ? 1 : 0);
            return digits != end && *digits >= '0' && *digits <= '9';
        }
    }

    std::string_view m_rest;
    bool m_isAtEnd;
};

// Takes the count token off where there is one, and tells whether it is true.
inline bool ReadCount(Splitter& tokens, const std::string& text) {
    const std::size_t total = tokens.CountTokens();
    if (total < 2) {
        Log(s_variantLog, 3,
            "[ReadVectorValueFromStringImp< T >] Not enough elements in this string (", total,
            ") for a valid vector!");
        return false;
    }
    unsigned int count = 0;
    if (!StringUtils::FromString(std::string(tokens.GetNext()), count, 0)) {
        Log(s_variantLog, 3,
            "[ReadVectorValueFromStringImp< T >] Unable to read number of values from ", text);
        return false;
    }
    if (count != total - 1) {
        Log(s_variantLog, 3, "[ReadVectorValueFromStringImp< T >] There should be ", count,
            " elements in the vector, but there are only ", total - 1, "...");
        return false;
    }
    return true;
}

}  // namespace zel::VariantText

template <zel::VariantElement T>
bool ReadScalarValueFromStringImp(zel::VariantBase* variant, const std::string& text) {
    using namespace zel;
    constexpr bool isNumber = NumericElement<T>;
    constexpr const char* place = isNumber ? "[ReadScalarValueFromStringImp< T >] "
                                           : "[ReadScalarValueFromStringImp< std::string >] ";
    if (variant == nullptr) {
        Log(s_variantLog, 3, place, "Invalid variant pointer passed into function");
        return false;
    }
    if (isNumber && text.empty()) {
        Log(s_variantLog, 3, place, "Invalid string passed into function");
        return false;
    }
    bool isStored = false;
    if constexpr (isNumber) {
        VariantText::Wide<T> value{};
        if (!VariantText::ReadElement<T>(text, value)) {
            Log(s_variantLog, 3, place, "Unable to read value ", text, " into variant of type ",
                variant->GetTypeID());
            return false;
        }
        isStored = variant->SetValue(static_cast<T>(value), false);
    } else {
        CriticalSectionLock lock(VariantAccess::GetLock(*variant));
        std::string* const target = VariantAccess::FindValue<std::string>(variant);
        isStored = target != nullptr;
        if (isStored) {
            *target = text;
        }
    }
    if (!isStored) {
        Log(s_variantLog, 3, place, "Unable to set value ", text, " into variant of type ",
            variant->GetTypeID());
    }
    return isStored;
}

template <zel::VariantElement T>
std::string WriteScalarValueToStringImp(const zel::VariantBase* variant) {
    using namespace zel;
    constexpr const char* tag = NumericElement<T> ? VariantText::Tag<T> : "std::string";
    if (variant == nullptr) {
        Log(s_variantLog, 3, "[WriteScalarValueToStringImp< ", tag,
            " >] Invalid variant pointer passed to function");
        return {};
    }
    CriticalSectionLock lock(VariantAccess::GetLock(*variant));
    T value{};
    const bool isFetched = NumericElement<T> ? variant->GetValue(&value, false)
                                             : VariantAccess::FindValue<T>(variant) != nullptr;
    if (!isFetched) {
        Log(s_variantLog, 3, "[WriteScalarValueToStringImp< ", tag,
            " >] Unable to get value from variant of type ", variant->GetTypeID(),
            " to write to string");
        return {};
    }
    if constexpr (NumericElement<T>) {
        std::string text;
        VariantText::AppendElement(text, value);
        return text;
    } else {
        return *VariantAccess::FindValue<T>(variant);
    }
}

template <zel::VariantElement T>
bool ReadVectorValueFromStringImp(zel::VariantBase* variant, const std::string& text,
                                  bool withSize) {
    using namespace zel;
    if (variant == nullptr) {
        Log(s_variantLog, 3,
            "[ReadVectorValueFromStringImp< T >] Invalid variant pointer passed into function");
        return false;
    }
    VariantText::Splitter tokens(text);
    if (withSize && !VariantText::ReadCount(tokens, text)) {
        return false;
    }
    std::vector<T> values;
    while (!tokens.IsAtEnd()) {
        if constexpr (NumericElement<T>) {
            tokens.TakePlainNumbers(values);
            if (tokens.IsAtEnd()) {
                break;
            }
        }
        VariantText::Wide<T> value{};
        const std::string_view token = tokens.GetNext();
        if (!VariantText::ReadElement<T>(token, value)) {
            Log(s_variantLog, 3, "[ReadVectorValueFromStringImp< ", VariantText::Tag<T>,
                " >] Unable to read value ", token, " into variant of type ", variant->GetTypeID());
            return false;
        }
        values.push_back(static_cast<T>(std::move(value)));
    }
    if (VariantAccess::StoreArray(variant, std::move(values), false)) {
        return true;
    }
    if constexpr (NumericElement<T>) {
        Log(s_variantLog, 3, "[ReadVectorValueFromStringImp< ", VariantText::Tag<T>,
            " >] Unable to set value ", text, " into variant of type ", variant->GetTypeID());
    } else {
        Log(s_variantLog, 3, "[ReadVectorValueFromStringImp< T >] Unable to set value ", text,
            " into variant of type ", variant->GetTypeName());
    }
    return false;
}

template <zel::VariantElement T>
std::string WriteVectorValueToStringImp(const zel::VariantBase* variant, bool withSize) {
    using namespace zel;
    if (variant == nullptr) {
        Log(s_variantLog, 3, "[WriteVectorValueToStringImp< ", VariantText::Tag<T>,
            " >] Invalid variant pointer passed to function");
        return {};
    }
    CriticalSectionLock lock(VariantAccess::GetLock(*variant));
    std::vector<T> converted;
    const std::vector<T>* values = VariantAccess::FindValue<std::vector<T>>(variant);
    if (values == nullptr) {
        if (!variant->GetValue(&converted, false)) {
            Log(s_variantLog, 3, "[WriteVectorValueToStringImp< ", VariantText::Tag<T>,
                " >] Unable to get value from variant of type ", variant->GetTypeID(),
                " to write to string");
            return {};
        }
        values = &converted;
    }
    std::string text;
    if (withSize) {
        VariantText::AppendElement(text, static_cast<unsigned long long>(values->size()));
        text += VariantBase::STRING_VECTOR_SEPARATOR;
    }
    VariantText::AppendElements(text, *values);
    return text;
}

namespace zel::VariantText {

template <class T>
bool ReadNewElement(const char* text, T& element, bool throwOnError) {
    Wide<T> value{};
    if (!ReadElement<T>(text, value)) {
        return Fail<Exception>(s_variantLog, throwOnError, "[AddElementToVectorAsStringImp< ",
                               Tag<T>, " >] Unable to turn ", text, " into value of type ",
                               typeid(T).name());
    }
    if constexpr (IsByte<T>) {
        if (static_cast<T>(value) != value) {
            return Fail<Exception>(s_variantLog, throwOnError, "[AddElementToVectorAsStringImp< ",
                                   Tag<T>, " >] Value ", value, " is out of range for ",
                                   std::is_signed_v<T> ? "a " : "", Tag<T>);
        }
    }
    element = static_cast<T>(std::move(value));
    return true;
}

}  // namespace zel::VariantText

template <zel::VariantElement T>
bool AddElementToVectorAsStringImp(zel::VariantBase* variant, int index, const char* text,
                                   bool throwOnError) {
    using namespace zel;
    constexpr const char* tag = VariantText::Tag<T>;
    if (variant == nullptr || text == nullptr) {
        return Fail<Exception>(s_variantLog, throwOnError, "[AddElementToVectorAsStringImp< ", tag,
                               " >] Invalid pointer passed to function");
    }
    T element{};
    if (!VariantText::ReadNewElement(text, element, throwOnError)) {
        return false;
    }
    std::vector<T> values;
    if (!variant->GetValue(&values, throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, "[AddElementToVectorAsStringImp< ", tag,
                               " >] Unable to retrieve value vector of type ", typeid(T).name(),
                               " from variant of type ", variant->GetType());
    }
    if (index >= static_cast<std::ptrdiff_t>(values.size())) {
        return Fail<Exception>(s_variantLog, throwOnError, "[AddElementToVectorAsStringImp< ", tag,
                               " >] Unable to insert element at index ", index);
    }
    values.insert(index < 0 ? values.end() : values.begin() + index, element);
    if (!VariantAccess::StoreArray(variant, std::move(values), throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, "[AddElementToVectorAsStringImp< ", tag,
                               " >] Unable to reset value vector to variant");
    }
    return true;
}

template <zel::VariantElement T>
bool RemoveElementFromVectorImp(int index, zel::VariantBase* variant, bool throwOnError) {
    using namespace zel;
    constexpr const char* place = "[RemoveElementFromVectorImp< std::vector< T > >] ";
    if (variant == nullptr) {
        return Fail<Exception>(s_variantLog, throwOnError, place,
                               "Invalid variant pointer passed to function");
    }
    std::vector<T> values;
    if (!variant->GetValue(&values, throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, place, "Unable to get vector to remove ",
                               index, "th element");
    }
    if (index >= 0 && index < static_cast<std::ptrdiff_t>(values.size())) {
        values.erase(values.begin() + index);
    }
    if (!VariantAccess::StoreArray(variant, std::move(values), throwOnError)) {
        return Fail<Exception>(s_variantLog, throwOnError, place,
                               "Unable to reset vector to variant");
    }
    return true;
}
