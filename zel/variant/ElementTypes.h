#pragma once

#include <string>
#include <type_traits>
#include <vector>

// The element types: type, type name, code, and the spelling that messages use. A value is an
// element or a std::vector of elements, which makes 22 value types. This list is the only one.
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

// The same with the string behind the numbers.
#define ZEL_FOR_EACH_ELEMENT(USE)     \
    ZEL_FOR_EACH_NUMERIC_ELEMENT(USE) \
    USE(std::string, "string", 0x80, "std::string")

namespace zel {

// A type identifier has the element's width in bytes in bits 0 to 3 (0 for a string), its class in
// bits 4 to 7 (unsigned, signed, floating point, string), and one of two bits for an array.
namespace TypeID {

// Where the parts of an identifier stand, and what stands there for a string and for arrays.
inline constexpr int WIDTH_BITS = 0x00F;
inline constexpr int CLASS_BITS = 0x0F0;
inline constexpr int ELEMENT_BITS = 0x0FF;
inline constexpr int STRING = 0x080;
inline constexpr int FIXED_ARRAY = 0x100;
inline constexpr int VARIABLE_ARRAY = 0x200;
inline constexpr int ARRAY_BITS = 0x300;

// Whether every number of element type `from` has its place in element type `to`: one class and no
// smaller width, or a double. The array bits don't matter.
constexpr bool MayConvert(int from, int to) noexcept {
    constexpr int doubleCode = 0x48;
    return (to & ELEMENT_BITS) == doubleCode ||
           ((from & CLASS_BITS) == (to & CLASS_BITS) && (from & WIDTH_BITS) <= (to & WIDTH_BITS));
}

}  // namespace TypeID

// An element type's row of the list: Code, Name and Spelling. Code 0 and nothing else for a type
// that isn't there.
template <class T>
struct ElementTraits {
    static constexpr int Code = 0;  // none
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

// One of the 11 element types, and one of the 10 that are numbers.
template <class T>
concept VariantElement = ElementTraits<T>::Code != 0;
template <class T>
concept NumericElement = VariantElement<T> && !std::is_same_v<T, std::string>;

// What a value type is made of, and its identifier (the variable-sized one for an array).
template <class T>
struct ValueTraits {
    using Element = T;                                   // what it is made of
    static constexpr bool IsArray = false;               // whether it is an array
    static constexpr int Code = ElementTraits<T>::Code;  // its identifier
};

// The same of an array of E.
template <class E>
struct ValueTraits<std::vector<E>> {
    using Element = E;                     // what it is made of
    static constexpr bool IsArray = true;  // whether it is an array
    static constexpr int Code = ElementTraits<E>::Code | TypeID::VARIABLE_ARRAY;  // its identifier
};

// One of the 22 types of a variant's value.
template <class T>
concept VariantValue = VariantElement<typename ValueTraits<T>::Element>;

// Compiles for the type of a value only, and else tells which there are.
#define ZEL_ASSERT_VARIANT_VALUE(T)                                                             \
    static_assert(::zel::VariantValue<T>,                                                       \
                  "a variant holds unsigned char, unsigned short, unsigned int, unsigned long " \
                  "long, signed char, short, int, long long, float, double, std::string, or a " \
                  "std::vector of one of these: say long long or unsigned long long for "       \
                  "std::int64_t, std::uint64_t and long, and std::string for a literal")

}  // namespace zel
