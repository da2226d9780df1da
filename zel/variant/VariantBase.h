#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/RCPtr.h"
#include "zel/variant/ElementTypes.h"

#include <iosfwd>
#include <string>
#include <typeinfo>

namespace zel {

// Raised by the operations of variants.
class ZEL_ADVANCED_API VariantEx : public Exception {
public:
    VariantEx(const std::string& message, const std::string& file, int line);
};

// A value whose type is known at run time only: one of 22, a number, a string, or an array of
// either. It is always handled through an RCPtr; Variant<T> is the class that holds it.
//
//     RCPtr<VariantBase> speed = VariantBase::CreateByTypeName("F32");
//     speed->SetValue(std::string("2.5"), true);
//     double metres = 0;
//     speed->GetValue(&metres, true);
//
// Type names are U8 U16 U32 U64 S8 S16 S32 S64 F32 D64 string, with [] behind for a variable-sized
// array and [8] for a fixed-size one. Type identifiers are told at TypeID.
//
// `throwOnError`, wherever it is asked for: true throws VariantEx for a failure, false logs its
// message at level 3 and gives false. A failure leaves variant and arguments as they were, unless
// told otherwise.
//
// Every variant has a lock of its own, which the operations take unless their comment says
// "unlocked". The locks of two variants are never held together.
class ZEL_ADVANCED_API VariantBase : public RCObject {
public:
    // Stands between the elements of an array in the text form.
    static const char STRING_VECTOR_SEPARATOR;

    ~VariantBase() override;

    // The runtime's name of the value's type, and its type_info. Unlocked.
    virtual std::string GetType() const = 0;
    virtual const std::type_info& GetTypeInfo() const = 0;

    // The identifier of the type, as TypeID tells. Unlocked.
    virtual int GetTypeID() const = 0;

    // 1 for a scalar; a string is a scalar. Like GetSize, never more than an int can count.
    virtual int GetNumberOfElements() const = 0;

    // Cuts an array or appends zeros or empty strings, also one of fixed size; does nothing to a
    // scalar.
    virtual void SetNumberOfElements(unsigned int count) = 0;

    // The sizeof of one element. Unlocked.
    virtual int GetSizeOfElement() const = 0;

    // The bytes of all numbers, or the characters of all strings.
    virtual int GetSize() const = 0;

    // The value of a numeric scalar; all others fail, a false result with no line in the log. A
    // null `value` fails too. Unlocked.
    virtual bool GetValueAsDouble(double* value, bool throwOnError) const = 0;

    // A new variant of the same type, value and fixed flag.
    virtual RCPtr<VariantBase> Clone() const = 0;

    // Set each number to the limit of its type (for a float or double the smallest and the largest
    // positive normal one), and each character of a string to 1 or 255. Unlocked.
    virtual void SetMinimumValue() = 0;
    virtual void SetMaximumValue() = 0;

    // The six comparisons read `other` into this variant's type, by GetValue, and compare the two
    // values. A null `other` and a refused read are failures, without a line in the log for the
    // null. Arrays of different lengths are unequal and in no order, unless `expandSingle` lets one
    // element stand for as many as the other has. Of the pairs of two arrays all must match with
    // `requireAll` and without `requireAny`, and one is enough otherwise. Two arrays without a pair
    // give `requireAll`, or the opposite of `requireAny`. Scalars ignore the last two arguments.
    virtual bool IsEqual(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                         bool requireAll) const = 0;

    // The opposite of IsEqual, so true for a failure.
    virtual bool IsNotEqual(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                            bool requireAll) const;

    // The order of the two values, by the rule told at IsEqual.
    virtual bool IsLessThan(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                            bool requireAny) const = 0;
    virtual bool IsLessThanOrEqualTo(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                                     bool requireAny) const = 0;
    virtual bool IsGreaterThan(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                               bool requireAny) const = 0;
    virtual bool IsGreaterThanOrEqualTo(RCPtr<VariantBase> other, bool throwOnError,
                                        bool expandSingle, bool requireAny) const = 0;

    // Stores a value. A number goes into its own type, a wider one of its class, and a double; an
    // array likewise, by its elements. A fixed-size array that has elements takes only as many.
    // Text goes into every type by its text form; an array of strings into an array of numbers
    // element by element, where one that is no number throws StringUtilsEx, whatever `throwOnError`
    // says, and leaves the array with those ahead of it.
    template <class T>
    bool SetValue(const T& value, bool throwOnError) {
        ZEL_ASSERT_VARIANT_VALUE(T);
        return StoreValue(value, throwOnError);
    }

    // Fetches the value, by the same rule in the other direction; `value` isn't null. Everything
    // can be read as text. When elements are converted, they are appended to what `*value` holds;
    // else it is replaced.
    template <class T>
    bool GetValue(T* value, bool throwOnError) const {
        ZEL_ASSERT_VARIANT_VALUE(T);
        return FetchValue(value, throwOnError);
    }

    // The text form: a number or the string itself; of an array the elements with the separator
    // between them, and with `withSize` their count and a separator in front. Nothing is escaped:
    // an element that holds the separator comes back as several. An array of one empty string comes
    // back with no element, and one without elements that was written with its count isn't read
    // again. An 8-bit number is cut to its low 8 bits when read. A failure is logged, and gives
    // false or an empty text.
    bool ReadValueFromString(const std::string& text, bool withSize);
    std::string WriteValueToString(bool withSize) const;

    // Inserts the element that `text` gives before the one at `index`, or at the end for a negative
    // `index`. False for a scalar. With `throwOnError` some failures are an Exception.
    bool AddElementToVectorAsString(int index, const char* text, bool throwOnError);

    // Removes an element of a variable-sized array; an `index` outside it removes nothing, with
    // true. False for a scalar and a fixed-size array.
    bool RemoveElementFromVector(int index, bool throwOnError);

    // The stream form: numbers with their most significant byte first, a string with a byte 0
    // behind it, an array with its count of elements in 8 bytes in front. A string that holds a
    // byte 0 loses what is behind it. A read that fails is logged and leaves the stream where it
    // was noticed; a write doesn't look at the stream's state. A count that no memory can hold
    // throws.
    bool ReadValueFromStream(std::istream& in);
    bool WriteValueToStream(std::ostream& out);

    // The same bytes in a block of memory outside the variant, with the count of an array only if
    // `withSize`; without it, as many elements are read as the array has. `bytes` is what may be
    // used from `buffer` on; a success takes off what it used and gives the address behind it. A
    // failure is logged, gives null and changes nothing.
    void* ReadValueFromBuffer(void* buffer, unsigned long long& bytes, bool withSize);
    void* WriteValueToBuffer(void* buffer, unsigned long long& bytes, bool withSize);

    // Whether it is an array, of either kind. Unlocked.
    bool IsArray() const { return (GetTypeID() & TypeID::ARRAY_BITS) != 0; }

    // The name that CreateByTypeName takes. Throws Exception for a class outside the 22.
    std::string GetTypeName() const;

    // The identifier of an integer element type of `size` bytes.
    static int MakeID(bool isSigned, unsigned short size) {
        constexpr int signedClass = 0x20;
        constexpr int unsignedClass = 0x10;
        return (isSigned ? signedClass : unsignedClass) | size;
    }

    // A new variant with a default value; null for an unknown identifier. A fixed-size array has no
    // elements yet: SetNumberOfElements gives it its size.
    static RCPtr<VariantBase> CreateByID(int id);

    // The same by name, a fixed-size array with its elements. Throws Exception for a bad name.
    static RCPtr<VariantBase> CreateByTypeName(const std::string& name);

    // Log at level 3 and 5 in the area of variants, and throw VariantEx; none does anything for
    // null.
    static void LogMessage(const char* message);
    static void LogDebugMessage(const char* message);
    static void Throw(const char* message);

protected:
    // A class of one's own; GetValue and SetValue know only the 22.
    VariantBase() = default;

    // `valueCode` is ValueTraits<T>::Code of the derived Variant<T>.
    VariantBase(int valueCode, bool isFixed) : m_isFixed(isFixed), m_valueCode(valueCode) {}
    VariantBase(const VariantBase& other)
        : RCObject(), m_isFixed(other.m_isFixed), m_valueCode(other.m_valueCode) {}
    VariantBase& operator=(const VariantBase& other) noexcept {
        m_isFixed = other.m_isFixed;
        return *this;
    }

    // Whether an array keeps its size, and the variant's lock, which guards the value.
    bool m_isFixed = false;
    mutable CriticalSection m_cs;

private:
    friend class VariantAccess;

    template <class T>
    bool StoreValue(const T& value, bool throwOnError);
    template <class T>
    bool FetchValue(T* value, bool throwOnError) const;

    const int m_valueCode = 0;
};

#define ZEL_DECLARE_VALUE_ACCESS(T, ...)                                       \
    extern template bool VariantBase::StoreValue(const T&, bool);              \
    extern template bool VariantBase::StoreValue(const std::vector<T>&, bool); \
    extern template bool VariantBase::FetchValue(T*, bool) const;              \
    extern template bool VariantBase::FetchValue(std::vector<T>*, bool) const;
ZEL_FOR_EACH_ELEMENT(ZEL_DECLARE_VALUE_ACCESS)
#undef ZEL_DECLARE_VALUE_ACCESS

}  // namespace zel
