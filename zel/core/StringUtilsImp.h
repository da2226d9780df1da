#pragma once

#include "zel/core/StringUtils.h"

// The number types that FromString and AsString support.
#define ZEL_FOR_EACH_NUMBER(USE) \
    USE(short)                   \
    USE(unsigned short)          \
    USE(int)                     \
    USE(unsigned int)            \
    USE(long)                    \
    USE(unsigned long)           \
    USE(long long)               \
    USE(unsigned long long)      \
    USE(float)                   \
    USE(double)

namespace zel::StringUtils {

namespace Imp {

template <class T>
ZEL_CORE_API bool ReadNumber(std::string_view text, T& value, int radix);

template <class T>
ZEL_CORE_API void AppendNumber(std::string& text, T value);

template <class T>
inline constexpr bool IsByte = std::is_integral_v<T> && sizeof(T) == 1;

#define ZEL_IS_NUMBER(N) || std::is_same_v<T, N>
template <class T>
inline constexpr bool IsValue = std::is_same_v<T, std::string> ZEL_FOR_EACH_NUMBER(ZEL_IS_NUMBER);
#undef ZEL_IS_NUMBER

#define ZEL_DECLARE_NUMBER(T)                                      \
    extern template bool ReadNumber<T>(std::string_view, T&, int); \
    extern template void AppendNumber<T>(std::string&, T);
ZEL_FOR_EACH_NUMBER(ZEL_DECLARE_NUMBER)
#undef ZEL_DECLARE_NUMBER

}  // namespace Imp

template <class T>
bool FromString(const std::string& text, T& value, int radix) {
    static_assert(!Imp::IsByte<T>, "use NumberFromString for an 8-bit type");
    static_assert(Imp::IsByte<T> || Imp::IsValue<T>, "T must be a number type or std::string");
    if constexpr (std::is_same_v<T, std::string>) {
        value = text;
        return true;
    } else {
        return Imp::ReadNumber(text, value, radix);
    }
}

template <class T>
std::string AsString(const T& value) {
    static_assert(!Imp::IsByte<T>, "use NumberAsString for an 8-bit type");
    static_assert(Imp::IsByte<T> || Imp::IsValue<T>, "T must be a number type or std::string");
    if constexpr (std::is_same_v<T, std::string>) {
        return value;
    } else {
        std::string text;
        Imp::AppendNumber(text, value);
        return text;
    }
}

template <class T>
bool NumberFromString(const std::string& text, T& value, int radix) {
    if constexpr (Imp::IsByte<T>) {
        using Wide = std::conditional_t<std::is_signed_v<T>, short, unsigned short>;
        Wide wide = 0;
        const bool fits = Imp::ReadNumber(text, wide, radix) && static_cast<T>(wide) == wide;
        value = fits ? static_cast<T>(wide) : value;
        return fits;
    } else {
        return FromString(text, value, radix);
    }
}

template <class T>
std::string NumberAsString(const T& value) {
    if constexpr (Imp::IsByte<T>) {
        return AsString(static_cast<int>(value));
    } else {
        return AsString(value);
    }
}

}  // namespace zel::StringUtils
