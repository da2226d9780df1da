#pragma once

#include "zel/core/Exception.h"
#include "zel/core/StreamScanner.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>

namespace zel {

// Raised for a text that isn't what it should be.
class ZEL_CORE_API StringUtilsEx : public Exception {
public:
    StringUtilsEx(const std::string& message, const std::string& file, int line);
};

// Text of values and back. The process's locale never matters, but for Format.
namespace StringUtils {

// Reads a number that makes up the whole text: no blanks, no trailing characters, not empty. False
// for anything else, and for a number that doesn't fit T; `value` keeps its old content then.
//
// `radix` is 10, 16, or 0 for decimal or, behind 0x, hexadecimal; a leading zero has no meaning.
// One sign may stand in front, of which an unsigned type takes only the plus. A float or double, in
// radix 0 or 10, also takes "inf" and "nan" in any case, and refuses what underflows to zero.
//
// T is a 16-, 32- or 64-bit integer, float, double, or std::string, which is handed through as it
// is. The two 8-bit types go by NumberFromString, so that nobody mistakes them for characters.
template <class T>
bool FromString(const std::string& text, T& value, int radix);

// The text of a number, which FromString reads back to the same value. A float or double gets the
// shortest that does.
template <class T>
std::string AsString(const T& value);

// FromString and AsString for the 8-bit types too, which are taken as numbers.
template <class T>
bool NumberFromString(const std::string& text, T& value, int radix);
template <class T>
std::string NumberAsString(const T& value);

// printf's text, of whatever length. Floating-point conversions follow the process's C locale.
[[gnu::format(printf, 1, 2)]] ZEL_CORE_API std::string Format(const char* format, ...);

// Lowers the ASCII letters.
ZEL_CORE_API std::string ToLower(std::string text);

// Exchanges the two bytes.
constexpr unsigned short ByteSwap(unsigned short value) noexcept {
    return static_cast<unsigned short>((value << 8) | (value >> 8));
}

// Logs and raises StringUtilsEx.
[[noreturn]] ZEL_CORE_API void ThrowEx(const std::string& message);

// Writes any bytes as one or more string segments. Readable text, that is UTF-8 without control
// characters, stands in double quotes, in which a backslash goes before a quote and a backslash,
// and \n, \t and \r are what they are in C. Other bytes stand as lower-case hexadecimal digits
// between two dollar signs. Nothing at all is "".
ZEL_CORE_API void Encode(const char* data, int length, std::ostream& out);

// The same, behind what `out` holds.
ZEL_CORE_API void Encode(std::string_view text, std::string& out);

// Reads one segment, at whose first character the input must stand, and not a byte more. False for
// a malformed one: no quote or dollar sign in front, no end, an unknown escape, a digit that is
// foreign or one too few. In quotes every byte but the two stands for itself.
// The first form sets `value` on success only; the second appends to it, on failure a part.
ZEL_CORE_API bool Decode(std::istream& in, std::string* value);
ZEL_CORE_API bool Decode(StreamScanner& in, std::string* value);

}  // namespace StringUtils
}  // namespace zel

#include "zel/core/StringUtilsImp.h"
