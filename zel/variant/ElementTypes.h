#pragma once

#include <string>
#include <type_traits>
#include <vector>

/// @file
/// The types of a variant's value, and the type IDs that stand for them.
///
/// Guide: docs/variants.md

/// Expands `USE(type, type name, code, spelling in messages)` for each numeric element type. This
/// list and the next are the only ones.
#define ZEL_FOR_EACH_NUMERIC_ELEMENT(USE)              \
    USE(unsigned char, "U8", 0x11, "::uint8_t")        \
    USE(unsigned short, "U16", 0x12, "::uint16_t")     \
    USE(unsigned int, "U32", 0x14, "::uint32_t")       \
    USE(unsigned long long, "U64", 0x18, "::uint64_t") \
    USE(signed char, "S8", 0x21, "::int8_t")           \
    USE(short, "S16", 0x22, "::int16_t")               \
    USE(int, "S32", 0x24, "::int32_t")                 \
    USE(long long, "S64", 0x28, "::int64_t")           \
    USE(float, "F32", 0x44, "float")                   \
    USE(double, "D64", 0x48, "double")

/// Expands `USE` for each of the 11 element types.
#define ZEL_FOR_EACH_ELEMENT(USE)     \
    ZEL_FOR_EACH_NUMERIC_ELEMENT(USE) \
    USE(std::string, "string", 0x80, "std::string")

namespace zel {

/// Type IDs. The code of an element type is in bits 0 to 7; an array has one bit more:
///
/// | Bits | Mask | Meaning |
/// |---|---|---|
/// | 0 to 3 | 0x00F | width of an element in bytes, 0 for a string |
/// | 4 to 7 | 0x0F0 | class: 0x10 unsigned, 0x20 signed, 0x40 floating point, 0x80 string |
/// | 8 | 0x100 | fixed-size array |
/// | 9 | 0x200 | variable-size array |
namespace TypeID {

inline constexpr int WIDTH_BITS = 0x00F;      ///< Mask of the width.
inline constexpr int CLASS_BITS = 0x0F0;      ///< Mask of the class.
inline constexpr int ELEMENT_BITS = 0x0FF;    ///< Mask of the element type's code.
inline constexpr int STRING = 0x080;          ///< Class and code of a string.
inline constexpr int FIXED_ARRAY = 0x100;     ///< Set in the ID of a fixed-size array.
inline constexpr int VARIABLE_ARRAY = 0x200;  ///< Set in the ID of a variable-size array.
inline constexpr int ARRAY_BITS = 0x300;      ///< Mask of both array bits.

/// Returns whether a number of element type `from` may be converted to element type `to`: if both
/// have the same class and `to` isn't narrower, or if `to` is `double`. The array bits are ignored.
/// Only the types matter, never the value.
constexpr bool MayConvert(int from, int to) noexcept {
    constexpr int doubleCode = 0x48;
    return (to & ELEMENT_BITS) == doubleCode ||
           ((from & CLASS_BITS) == (to & CLASS_BITS) && (from & WIDTH_BITS) <= (to & WIDTH_BITS));
}

}  // namespace TypeID

/// The entry of an element type in the list: `Code`, `Name` and `Spelling`. Any other type has only
/// a `Code`, which is 0.
template <class T>
struct ElementTraits {
    static constexpr int Code = 0;  ///< Not an element type.
};

#define ZEL_DEFINE_TRAITS(Type, TypeName, TypeCode, TypeSpelling) \
    template <>                                                   \
    struct ElementTraits<Type> {                                  \
        static constexpr int Code = TypeCode;                     \
        static constexpr const char* Name = TypeName;             \
        static constexpr const char* Spelling = TypeSpelling;     \
    };
ZEL_FOR_EACH_ELEMENT(ZEL_DEFINE_TRAITS)
#undef ZEL_DEFINE_TRAITS

/// One of the 11 element types.
template <class T>
concept VariantElement = ElementTraits<T>::Code != 0;

/// One of the 10 element types that are numbers.
template <class T>
concept NumericElement = VariantElement<T> && !std::is_same_v<T, std::string>;

/// Describes a value type: a scalar, or an array in the specialisation for `std::vector`.
template <class T>
struct ValueTraits {
    using Element = T;                                   ///< The element type.
    static constexpr bool IsArray = false;               ///< Whether it is an array.
    static constexpr int Code = ElementTraits<T>::Code;  ///< The type ID.
};

/// Describes the type of an array.
template <class E>
struct ValueTraits<std::vector<E>> {
    using Element = E;                     ///< The element type.
    static constexpr bool IsArray = true;  ///< Whether it is an array.

    /// The type ID of the variable-size array.
    static constexpr int Code = ElementTraits<E>::Code | TypeID::VARIABLE_ARRAY;
};

/// One of the 22 types of a variant's value.
template <class T>
concept VariantValue = VariantElement<typename ValueTraits<T>::Element>;

/// The element type used for `T` where only width and sign count: the integer of the same
/// width and sign for `long` and `unsigned long`, and so for `std::int64_t` and `std::size_t` on
/// every host; `unsigned char` for `bool`; `T` itself for any other type.
template <class T>
using SubstituteFor = std::conditional_t<
    std::is_same_v<T, bool>, unsigned char,
    std::conditional_t<
        std::is_same_v<T, long>, std::conditional_t<sizeof(long) == sizeof(int), int, long long>,
        std::conditional_t<
            std::is_same_v<T, unsigned long>,
            std::conditional_t<sizeof(long) == sizeof(int), unsigned int, unsigned long long>, T>>>;

/// A number type that isn't an element type but has a substitute: `long`, `unsigned long`, `bool`.
template <class T>
concept SubstitutedNumber = !std::is_same_v<T, SubstituteFor<T>>;

/// Fails to compile, with a message that lists the value types, if `T` isn't one of them.
#define ZEL_ASSERT_VARIANT_VALUE(T)                                                             \
    static_assert(::zel::VariantValue<T>,                                                       \
                  "a variant holds unsigned char, unsigned short, unsigned int, unsigned long " \
                  "long, signed char, short, int, long long, float, double, std::string, or a " \
                  "std::vector of one of these: use long long or unsigned long long for "       \
                  "std::int64_t, std::uint64_t and long, and std::string for a literal")

}  // namespace zel
