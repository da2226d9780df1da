#pragma once

#include "zel/core/Exception.h"
#include "zel/core/StreamScanner.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>

namespace zel {

/// Thrown for a text that is not in the expected form.
///
/// Guide: docs/core.md
class ZEL_CORE_API StringUtilsEx : public Exception {
public:
    StringUtilsEx(const std::string& message, const std::string& file, int line);
};

/// Conversion between values and text, and other string helpers. Independent of the process's
/// locale, except for `Format`. Thread-safe.
namespace StringUtils {

/// Converts a text to a value of type T. The number must be the whole text, without blanks or
/// trailing characters. Returns false, with `value` unchanged, for any other text and for a number
/// out of the range of T.
///
/// T is `short`, `int`, `long`, `long long`, their unsigned types, `float`, `double`, or
/// `std::string`, which is copied unchanged. Use `NumberFromString` for 8-bit types, which could be
/// mistaken for characters.
///
/// | Radix | Integers | `float` and `double` |
/// |---|---|---|
/// | 0 | decimal, or hexadecimal after `0x` | decimal, `inf` and `nan` |
/// | 10 | decimal | decimal, `inf` and `nan` |
/// | 16 | hexadecimal, with or without `0x` | none |
/// | other | none | none |
///
/// One leading `+` or `-` is accepted, before `0x` too; unsigned types accept only `+`. Letters may
/// be in either case, a leading zero has no meaning, and a value that underflows to zero is out of
/// range.
template <class T>
bool FromString(const std::string& text, T& value, int radix);

/// Converts a value to a text that `FromString` converts back to the same value. For `float` and
/// `double` it is the shortest such text.
template <class T>
std::string AsString(const T& value);

/// The same as `FromString` and `AsString`, and accept the 8-bit types too, which are converted as
/// numbers.
///@{
template <class T>
bool NumberFromString(const std::string& text, T& value, int radix);
template <class T>
std::string NumberAsString(const T& value);
///@}

/// Formats like `std::printf`, without a limit on the length. Floating-point conversions use the
/// process's C locale.
[[gnu::format(printf, 1, 2)]] ZEL_CORE_API std::string Format(const char* format, ...);

/// Converts ASCII upper-case letters to lower case.
ZEL_CORE_API std::string ToLower(std::string text);

/// Exchanges the two bytes.
constexpr unsigned short ByteSwap(unsigned short value) noexcept {
    return static_cast<unsigned short>((value << 8) | (value >> 8));
}

/// Logs and throws StringUtilsEx. A null `message` is an empty one.
///@{
[[noreturn]] ZEL_CORE_API void ThrowEx(const std::string& message);
[[noreturn]] ZEL_CORE_API void ThrowEx(const char* message);
///@}

/// Writes any bytes as one or more string segments; an empty text is the segment `""`. The first
/// form writes to a stream and treats a negative length as 0; the second appends to `out`.
///
/// | Bytes | Segment |
/// |---|---|
/// | UTF-8 text without control characters | in double quotes |
/// | quote, backslash | in double quotes as `\"`, `\\` |
/// | line feed, tab, carriage return | in double quotes as `\n`, `\t`, `\r` |
/// | other bytes | lower-case hexadecimal digits between two `$` |
///@{
ZEL_CORE_API void Encode(const char* data, int length, std::ostream& out);
ZEL_CORE_API void Encode(std::string_view text, std::string& out);
///@}

/// Reads one string segment, which must start at the next byte of the input, and consumes nothing
/// after it. In quotes all bytes but quote and backslash stand for themselves.
///
/// Returns false for a malformed segment: another first character, no end, an unknown escape, an
/// invalid digit or an odd number of digits. On failure the first form leaves `*value` unchanged;
/// the second form, which appends to `*value`, may have appended a part.
///@{
ZEL_CORE_API bool Decode(std::istream& in, std::string* value);
ZEL_CORE_API bool Decode(StreamScanner& in, std::string* value);
///@}

}  // namespace StringUtils
}  // namespace zel

#include "zel/core/StringUtilsImp.h"
