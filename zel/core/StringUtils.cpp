#include "zel/core/StringUtils.h"

#include "zel/core/Logger.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>

namespace zel {

namespace {

const LoggingRegisterHelper s_log("StringUtils", -1, nullptr);

bool IsSign(char c) {
    return c == '+' || c == '-';
}

// Removes a leading "0x". Returns false if there is none.
bool TakeHexPrefix(std::string_view& digits) {
    if (digits.size() < 2 || digits[0] != '0' || (digits[1] != 'x' && digits[1] != 'X')) {
        return false;
    }
    digits.remove_prefix(2);
    return true;
}

template <class T, class Format>
bool ReadWhole(std::string_view text, T& value, Format format) {
    T result{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, result, format);
    if (error != std::errc() || stop != end) {
        return false;
    }
    value = result;
    return true;
}

template <class T>
bool ReadInteger(std::string_view text, T& value, int radix) {
    const bool hasSign = IsSign(text.front());
    const bool isNegative = text.front() == '-';
    std::string_view digits = text.substr(hasSign ? 1 : 0);
    const bool isHex = radix != 10 && TakeHexPrefix(digits);
    const int base = isHex || radix == 16 ? 16 : 10;
    // from_chars accepts a minus, which is valid only as the first character of the text.
    if (digits.empty() || digits.front() == '-' || (isNegative && std::is_unsigned_v<T>)) {
        return false;
    }
    if (!isNegative) {
        return ReadWhole(digits, value, base);
    }
    return isHex ? ReadWhole('-' + std::string(digits), value, base) : ReadWhole(text, value, base);
}

template <class T>
bool ReadFloat(std::string_view text, T& value, int radix) {
    if (radix == 16) {
        return false;
    }
    const std::string_view digits = text.substr(IsSign(text.front()) ? 1 : 0);
    // from_chars also accepts "infinity" and "nan(...)".
    const bool isWord =
        !digits.empty() && digits.front() != '.' && (digits.front() < '0' || digits.front() > '9');
    if (digits.empty() || IsSign(digits.front()) || (isWord && digits.size() != 3)) {
        return false;
    }
    return ReadWhole(text.substr(text.front() == '+' ? 1 : 0), value, std::chars_format::general);
}

}  // namespace

StringUtilsEx::StringUtilsEx(const std::string& message, const std::string& file, int line)
    : Exception("StringUtilsEx", message, file, line) {}

namespace StringUtils {

namespace Imp {

template <class T>
bool ReadNumber(std::string_view text, T& value, int radix) {
    if (text.empty() || (radix != 0 && radix != 10 && radix != 16)) {
        return false;
    }
    if constexpr (std::is_integral_v<T>) {
        return ReadInteger(text, value, radix);
    } else {
        return ReadFloat(text, value, radix);
    }
}

template <class T>
void AppendNumber(std::string& text, T value) {
    // Longer than the text of any of the types.
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text.append(digits, result.ptr);
}

#define ZEL_DEFINE_NUMBER(T)                                             \
    template ZEL_CORE_API bool ReadNumber<T>(std::string_view, T&, int); \
    template ZEL_CORE_API void AppendNumber<T>(std::string&, T);
ZEL_FOR_EACH_NUMBER(ZEL_DEFINE_NUMBER)
#undef ZEL_DEFINE_NUMBER

}  // namespace Imp

std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string ToLower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

void ThrowEx(const std::string& message) {
    LogAndThrow(s_log, StringUtilsEx(message, "../core/StringUtils", __LINE__));
}

void ThrowEx(const char* message) {
    ThrowEx(std::string(message == nullptr ? "" : message));
}

}  // namespace StringUtils
}  // namespace zel
