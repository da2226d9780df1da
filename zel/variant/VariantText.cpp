#include "zel/variant/VariantText.h"

#include "zel/variant/VariantAccess.h"
#include "zel/variant/VariantElementText.h"
#include "zel/variant/VariantMessages.h"

#include <algorithm>
#include <charconv>

namespace zel {

namespace {

constexpr char SEPARATOR = '`';

// Splits a text at the separators. An empty text has no token.
class Tokenizer {
public:
    explicit Tokenizer(std::string_view text) : m_rest(text), m_isAtEnd(text.empty()) {}

    std::size_t CountTokens() const {
        const auto separators = std::count(m_rest.begin(), m_rest.end(), SEPARATOR);
        return m_isAtEnd ? 0 : static_cast<std::size_t>(separators) + 1;
    }

    // Appends the numbers of the next tokens up to the first that isn't plain decimal: digits and
    // at most a minus sign, which std::from_chars reads by itself.
    template <class T>
    void TakePlainNumbers(std::vector<T>& values) {
        const char* next = m_rest.data();
        const char* const end = next + m_rest.size();
        while (!m_isAtEnd && BeginsPlainly<T>(next, end)) {
            TextType<T> value{};
            const auto [stop, error] = std::from_chars(next, end, value);
            if (error != std::errc() || (stop != end && *stop != SEPARATOR)) {
                break;
            }
            values.push_back(static_cast<T>(value));
            m_isAtEnd = stop == end;
            next = stop + (m_isAtEnd ? 0 : 1);
        }
        m_rest = std::string_view(next, static_cast<std::size_t>(end - next));
    }

    bool IsAtEnd() const { return m_isAtEnd; }

    // Requires: not at the end.
    std::string_view TakeToken() {
        const std::size_t end = m_rest.find(SEPARATOR);
        const std::string_view token = m_rest.substr(0, end);
        m_isAtEnd = end == std::string_view::npos;
        m_rest.remove_prefix(m_isAtEnd ? m_rest.size() : end + 1);
        return token;
    }

private:
    // std::from_chars reads only plain integers, but also "inf" and "nan".
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

// Takes the count token and returns whether it equals the number of the tokens that follow.
bool TakeCount(Tokenizer& tokens, const std::string& text) {
    constexpr MessagePlace place{"ReadVectorValueFromStringImp", "T"};
    const std::size_t total = tokens.CountTokens();
    if (total < 2) {
        Log(s_variantLog, 3, place, "Not enough elements in this string (", total,
            ") for a valid vector!");
        return false;
    }
    unsigned int count = 0;
    if (!StringUtils::Imp::ReadNumber(tokens.TakeToken(), count, 0)) {
        Log(s_variantLog, 3, place, "Unable to read number of values from ", text);
        return false;
    }
    if (count != total - 1) {
        Log(s_variantLog, 3, place, "There should be ", count,
            " elements in the vector, but there are only ", total - 1, "...");
        return false;
    }
    return true;
}

// Parses all tokens. Returns false at one that isn't an element and leaves it in `token`.
template <class T>
bool ParseElements(Tokenizer& tokens, std::vector<T>& values, std::string_view& token) {
    if constexpr (!NumericElement<T>) {
        values.reserve(tokens.CountTokens());
    }
    while (true) {
        if constexpr (NumericElement<T>) {
            tokens.TakePlainNumbers(values);
        }
        if (tokens.IsAtEnd()) {
            return true;
        }
        token = tokens.TakeToken();
        TextType<T> value{};
        if (!ParseElement<T>(token, value)) {
            return false;
        }
        values.push_back(static_cast<T>(std::move(value)));
    }
}

// Longer than the text of any number.
constexpr std::size_t LONGEST = 32;

// Returns the end of the text. Requires: LONGEST characters.
template <NumericElement T>
char* FormatNumber(T value, char* text) {
    return std::to_chars(text, text + LONGEST, TextType<T>(value)).ptr;
}

void AppendElements(std::string& text, const std::vector<std::string>& values) {
    for (const std::string& value : values) {
        if (&value != values.data()) {
            text += SEPARATOR;
        }
        text += value;
    }
}

// Formats numbers in blocks, because appending them one by one is slow.
template <NumericElement T>
void AppendElements(std::string& text, const std::vector<T>& values) {
    char block[4096];
    char* end = block;
    for (const T& value : values) {
        if (static_cast<std::size_t>(block + sizeof block - end) < LONGEST) {
            text.append(block, end);
            end = block;
        }
        end = FormatNumber(value, end);
        *end++ = SEPARATOR;
    }
    text.append(block, values.empty() ? end : end - 1);
}

// The functions below require the variant's lock if the variant isn't null.

// Needs no temporary, so that the variant's string keeps its capacity.
bool StoreText(VariantBase& variant, const std::string& text) {
    std::string* const own = VariantAccess::FindValue<std::string>(variant);
    if (own != nullptr) {
        *own = text;
    }
    return own != nullptr;
}

template <class T>
bool ReadScalar(VariantBase* variant, const std::string& text) {
    constexpr MessagePlace place{"ReadScalarValueFromStringImp", BINARY_TAG<T>};
    if (HasNull(place, NULL_IN_READER, variant)) {
        return false;
    }
    bool isStored = false;
    if constexpr (NumericElement<T>) {
        if (text.empty()) {
            Log(s_variantLog, 3, place, "Invalid string passed into function");
            return false;
        }
        TextType<T> value{};
        if (!ParseElement<T>(text, value)) {
            Log(s_variantLog, 3, place, "Unable to read value ", text, " into variant of type ",
                variant->GetTypeID());
            return false;
        }
        isStored = VariantAccess::Store(*variant, static_cast<T>(value), false);
    } else {
        isStored = StoreText(*variant, text);
    }
    if (!isStored) {
        Log(s_variantLog, 3, place, "Unable to set value ", text, " into variant of type ",
            variant->GetTypeID());
    }
    return isStored;
}

template <class T>
std::string WriteScalar(const VariantBase* variant) {
    constexpr const char* tag = NumericElement<T> ? TEXT_TAG<T> : "std::string";
    constexpr MessagePlace place{"WriteScalarValueToStringImp", tag};
    if (HasNull(place, NULL_IN_WRITER, variant)) {
        return {};
    }
    T converted{};
    const T* const value = NumericElement<T> ? VariantAccess::Fetch(*variant, converted)
                                             : VariantAccess::FindValue<T>(*variant);
    if (value == nullptr) {
        Log(s_variantLog, 3, place, "Unable to get value from variant of type ",
            variant->GetTypeID(), " to write to string");
        return {};
    }
    if constexpr (NumericElement<T>) {
        char digits[LONGEST];
        return {digits, FormatNumber(*value, digits)};
    } else {
        return *value;
    }
}

template <class T>
bool ReadArray(VariantBase* variant, const std::string& text, bool withSize) {
    if (HasNull({"ReadVectorValueFromStringImp", "T"}, NULL_IN_READER, variant)) {
        return false;
    }
    constexpr MessagePlace place{"ReadVectorValueFromStringImp", TEXT_TAG<T>};
    Tokenizer tokens(text);
    if (withSize && !TakeCount(tokens, text)) {
        return false;
    }
    std::vector<T> values;
    std::string_view token;
    if (!ParseElements(tokens, values, token)) {
        Log(s_variantLog, 3, place, "Unable to read value ", token, " into variant of type ",
            variant->GetTypeID());
        return false;
    }
    if (VariantAccess::Store(*variant, std::move(values), false)) {
        return true;
    }
    if constexpr (NumericElement<T>) {
        Log(s_variantLog, 3, place, "Unable to set value ", text, " into variant of type ",
            variant->GetTypeID());
    } else {
        Log(s_variantLog, 3, place, "Unable to set value ", text, " into variant of type ",
            variant->GetTypeName());
    }
    return false;
}

template <class T>
std::string WriteArray(const VariantBase* variant, bool withSize) {
    constexpr MessagePlace place{"WriteVectorValueToStringImp", TEXT_TAG<T>};
    if (HasNull(place, NULL_IN_WRITER, variant)) {
        return {};
    }
    std::vector<T> converted;
    const std::vector<T>* const values = VariantAccess::Fetch(*variant, converted);
    if (values == nullptr) {
        Log(s_variantLog, 3, place, "Unable to get value from variant of type ",
            variant->GetTypeID(), " to write to string");
        return {};
    }
    std::string text;
    if (withSize) {
        text = std::to_string(values->size()) + SEPARATOR;
    }
    AppendElements(text, *values);
    return text;
}

}  // namespace

bool VariantAccess::WriteNumber(const VariantBase& variant, std::string& text) {
    const auto reject = [](const auto&) { return false; };
    return VisitForm(
        variant, false,
        [&]<class T>(ElementTag<T>) {
            const T* const own = FindValue<T>(variant);
            if constexpr (NumericElement<T>) {
                char digits[LONGEST];
                return own != nullptr && !text.assign(digits, FormatNumber(*own, digits)).empty();
            }
            return false;
        },
        reject);
}

const char VariantBase::STRING_VECTOR_SEPARATOR = SEPARATOR;

bool VariantBase::ReadValueFromString(const std::string& text, bool withSize) {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        *this, false, [&]<class T>(ElementTag<T>) { return ReadScalar<T>(this, text); },
        [&]<class T>(ElementTag<T>) { return ReadArray<T>(this, text, withSize); });
}

std::string VariantBase::WriteValueToString(bool withSize) const {
    CriticalSectionLock lock(&m_cs);
    return VisitForm(
        *this, std::string(), [&]<class T>(ElementTag<T>) { return WriteScalar<T>(this); },
        [&]<class T>(ElementTag<T>) { return WriteArray<T>(this, withSize); });
}

std::ostream& operator<<(std::ostream& out, const VariantBase& variant) {
    return out << variant.WriteValueToString(false);
}

}  // namespace zel

template <zel::VariantElement T>
bool ReadScalarValueFromStringImp(zel::VariantBase* variant, const std::string& text) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::ReadScalar<T>(variant, text);
}

template <zel::VariantElement T>
std::string WriteScalarValueToStringImp(const zel::VariantBase* variant) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::WriteScalar<T>(variant);
}

template <zel::VariantElement T>
bool ReadVectorValueFromStringImp(zel::VariantBase* variant, const std::string& text,
                                  bool withSize) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::ReadArray<T>(variant, text, withSize);
}

template <zel::VariantElement T>
std::string WriteVectorValueToStringImp(const zel::VariantBase* variant, bool withSize) {
    zel::CriticalSectionLock lock(zel::VariantAccess::GetLock(variant));
    return zel::WriteArray<T>(variant, withSize);
}

#define ZEL_INSTANTIATE_TEXT(T, ...)                                                            \
    template bool ReadScalarValueFromStringImp<T>(zel::VariantBase*, const std::string&);       \
    template std::string WriteScalarValueToStringImp<T>(const zel::VariantBase*);               \
    template bool ReadVectorValueFromStringImp<T>(zel::VariantBase*, const std::string&, bool); \
    template std::string WriteVectorValueToStringImp<T>(const zel::VariantBase*, bool);
ZEL_FOR_EACH_ELEMENT(ZEL_INSTANTIATE_TEXT)
#undef ZEL_INSTANTIATE_TEXT
