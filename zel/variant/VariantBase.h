#pragma once

#include "zel/foundation/Export.h"
#include "zel/foundation/RCPtr.h"
#include "zel/variant/ElementTypes.h"
#include "zel/variant/VariantEx.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace zel {

/// A value whose type is known only at run time: a number, a string, or an array of either.
/// `Variant<T>` is the class that stores it. A variant is usually owned by an `RCPtr`; one whose
/// type is known may also be a local variable or a member.
///
///     RCPtr<VariantBase> speed = VariantBase::CreateByTypeName("F32");
///     speed->SetValue(std::string("2.5"), true);
///     const auto metres = speed->GetValueAs<double>();
///
/// The type names are `U8 U16 U32 U64 S8 S16 S32 S64 F32 D64 string`, followed by `[]` for a
/// variable-size array and by a size, as in `[8]`, for a fixed-size array. The type IDs are
/// described at `TypeID`.
///
/// | `throwOnError` | On failure |
/// |---|---|
/// | true | logs the message at level 2 and throws: `VariantEx`, or `Exception` where documented |
/// | false | logs the message at level 3, except where documented, and returns false |
///
/// A failure leaves the variant and the arguments unchanged, unless documented otherwise.
///
/// Thread-safe, except for the functions marked "Unlocked". Each variant has a lock, which the
/// other functions hold from start to end, also while they log and while they read or write a
/// stream; a comparison holds that of its argument first, then its own. The locks of two variants
/// are never held together.
///
/// Guide: docs/variants.md
class ZEL_ADVANCED_API VariantBase : public RCObject {
public:
    /// The character between the elements of an array in the text form.
    static const char STRING_VECTOR_SEPARATOR;

    ~VariantBase() override;

    /// Returns the name that the C++ runtime gives the value's type. Unlocked.
    virtual std::string GetType() const = 0;

    /// Returns the value's type, `T` of `Variant<T>`. Unlocked.
    virtual const std::type_info& GetTypeInfo() const = 0;

    /// Returns the type ID, whose bits are described at `TypeID`. Unlocked.
    virtual int GetTypeID() const = 0;

    /// Returns the number of elements of an array, at most INT_MAX; 1 for a scalar. A string is a
    /// scalar.
    virtual int GetNumberOfElements() const = 0;

    /// Truncates an array or appends zeros or empty strings, even if its size is fixed. Does
    /// nothing to a scalar.
    virtual void SetNumberOfElements(unsigned int count) = 0;

    /// Returns the `sizeof` of one element. Unlocked.
    virtual int GetSizeOfElement() const = 0;

    /// Returns the size of all numbers in bytes, or the length of all strings; at most INT_MAX.
    virtual int GetSize() const = 0;

    /// Reads the value of a numeric scalar. Fails for any other variant and if `value` is null;
    /// without `throwOnError`, nothing is logged then. Unlocked.
    virtual bool GetValueAsDouble(double* value, bool throwOnError) const = 0;

    /// Returns a new variant of the same type, value and fixed flag.
    virtual RCPtr<VariantBase> Clone() const = 0;

    /// Sets each number to the limit of its type and each character of a string to 1 or 255. The
    /// limits of `float` and `double` are the smallest and the largest positive normal number.
    /// Unlocked.
    ///@{
    virtual void SetMinimumValue() = 0;
    virtual void SetMaximumValue() = 0;
    ///@}

    /// Compares this variant with `other`. The value of `other` is first read into this variant's
    /// type by the rules of GetValue; this variant isn't converted. It is a failure if that read is
    /// rejected, or if `other` is null, which isn't logged.
    ///
    /// Arrays are compared pair by pair. With `expandSingle`, the element of an array of one is
    /// repeated to the length of the other array. Arrays that then differ in length compare false.
    /// The last argument selects how the pairs combine, **with opposite senses**:
    ///
    /// | Functions | Last argument | true | false | Both arrays empty |
    /// |---|---|---|---|---|
    /// | IsEqual | `requireAll` | all pairs must be equal | one equal pair suffices | `requireAll` |
    /// | the four of order | `requireAny` | one pair in order suffices | all pairs must be in order | `!requireAny` |
    ///
    /// Scalars ignore the last two arguments. A NaN is unequal to everything, and neither less nor
    /// greater than anything.
    virtual bool IsEqual(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                         bool requireAll) const = 0;

    /// Returns the opposite of IsEqual, and therefore true on failure.
    virtual bool IsNotEqual(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                            bool requireAll) const;

    /// Compares the order of the two values by the rules given at IsEqual.
    ///@{
    virtual bool IsLessThan(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                            bool requireAny) const = 0;
    virtual bool IsLessThanOrEqualTo(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                                     bool requireAny) const = 0;
    virtual bool IsGreaterThan(RCPtr<VariantBase> other, bool throwOnError, bool expandSingle,
                               bool requireAny) const = 0;
    virtual bool IsGreaterThanOrEqualTo(RCPtr<VariantBase> other, bool throwOnError,
                                        bool expandSingle, bool requireAny) const = 0;
    ///@}

    /// The argument of a comparison with a variant that is const, or that no `RCPtr` owns. It is
    /// made implicitly.
    class Operand {
    public:
        /// Copies the variant, which may be a local variable.
        Operand(const VariantBase& variant) : m_variant(variant.Clone()) {}

        /// Shares the variant. The const_cast is safe: a comparison doesn't change its argument.
        template <class T>
        Operand(const RCPtr<const T>& variant) : m_variant(const_cast<T*>(variant.Get())) {}

        /// Returns the variant, which may be null.
        const RCPtr<VariantBase>& Get() const { return m_variant; }

    private:
        RCPtr<VariantBase> m_variant;
    };

    /// Compare with a variant that is const, or that no `RCPtr` owns, such as a local variable. A
    /// variant passed by reference is copied first.
    ///
    /// Do not pass the address of a local variable: it converts to an `RCPtr`, which deletes the
    /// variable after the comparison.
    ///@{
    bool IsEqual(const Operand& other, bool throwOnError, bool expandSingle, bool requireAll) const;
    bool IsNotEqual(const Operand& other, bool throwOnError, bool expandSingle,
                    bool requireAll) const;
    bool IsLessThan(const Operand& other, bool throwOnError, bool expandSingle,
                    bool requireAny) const;
    bool IsLessThanOrEqualTo(const Operand& other, bool throwOnError, bool expandSingle,
                             bool requireAny) const;
    bool IsGreaterThan(const Operand& other, bool throwOnError, bool expandSingle,
                       bool requireAny) const;
    bool IsGreaterThanOrEqualTo(const Operand& other, bool throwOnError, bool expandSingle,
                                bool requireAny) const;
    ///@}

    /// Sets the value, converted to the variant's type if necessary:
    ///
    /// | Value | Variant | Result |
    /// |---|---|---|
    /// | number | number | converted if `TypeID::MayConvert` allows the two types |
    /// | number | string | rejected |
    /// | `std::string` | any | parsed as the text form without a count |
    /// | array of numbers | array of numbers | as number to number, element by element |
    /// | array of numbers | array of strings | rejected |
    /// | array of strings | array of numbers | each string parsed, see below |
    /// | number | array | rejected |
    /// | array | scalar | rejected |
    ///
    /// A fixed-size array rejects another number of elements, unless it has none yet. Even then it
    /// rejects an array of numbers of another type.
    ///
    /// A string that is not a number throws `StringUtilsEx`, whatever `throwOnError` is, and leaves
    /// an array of numbers with the elements before that string.
    template <class T>
    bool SetValue(const T& value, bool throwOnError) {
        ZEL_ASSERT_VARIANT_VALUE(T);
        return StoreValue(value, throwOnError);
    }

    /// Sets a string or an array as above. If the variant is of the same type, the content of
    /// `value` is moved; otherwise, and on failure, `value` is unchanged.
    template <class T>
    requires(VariantValue<T> && !NumericElement<T>) bool SetValue(T&& value, bool throwOnError) {
        return MoveValue(value, throwOnError);
    }

    /// Sets a numeric scalar if its type can represent `value` exactly, for any class and
    /// width of the two types: an `S32` takes 5ULL and 5.0, but neither 5.5 nor 2^31. `T` may also
    /// be a SubstitutedNumber. Any other variant rejects every number. Logs only if `throwOnError`.
    template <class T>
    requires NumericElement<SubstituteFor<T>>
    bool SetValueIfExact(T value, bool throwOnError = false) {
        return StoreIfExact<SubstituteFor<T>>(value, throwOnError);
    }

    /// Reads the value, converted to `T` if necessary by the rules of SetValue in the other
    /// direction. Every variant can be read as a `std::string`, which is its text form. Elements
    /// that are converted are appended to `*value`; a value of the variant's own type replaces it.
    /// Requires: `value` isn't null.
    template <class T>
    bool GetValue(T* value, bool throwOnError) const {
        ZEL_ASSERT_VARIANT_VALUE(T);
        return FetchValue(value, throwOnError);
    }

    /// Returns the value, converted by the rules of GetValue; an array has only the variant's
    /// elements. `T` may also be a SubstitutedNumber. Throws VariantEx if the rules reject the
    /// conversion.
    ///
    ///     const auto size = limits->GetValueAs<std::uint64_t>();
    template <class T>
    T GetValueAs() const {
        ZEL_ASSERT_VARIANT_VALUE(SubstituteFor<T>);
        return static_cast<T>(FetchOrThrow<SubstituteFor<T>>());
    }

    /// Returns the element at `index` of an array, converted by the rules of GetValue. `T` may also
    /// be a SubstitutedNumber. Throws VariantEx for a scalar, an `index` at or after the end, and
    /// if the rules reject the conversion.
    template <class T>
    T GetElement(std::size_t index) const {
        ZEL_ASSERT_VARIANT_VALUE(SubstituteFor<T>);
        return static_cast<T>(FetchElement<SubstituteFor<T>>(index));
    }

    /// Replaces the element at `index` of an array, or appends one to an array of variable size;
    /// the other elements aren't copied. The value is converted by the rules of SetValue; a text
    /// that is no number in range is rejected like any other value, by VariantEx. `T` may also be a
    /// SubstitutedNumber.
    ///
    ///     for (const std::size_t size : sizes) {
    ///         array->AppendElement(size);
    ///     }
    ///@{
    template <class T>
    bool SetElement(std::size_t index, const T& value, bool throwOnError = true) {
        ZEL_ASSERT_VARIANT_VALUE(SubstituteFor<T>);
        return StoreElement<SubstituteFor<T>>(index, value, throwOnError);
    }
    template <class T>
    bool AppendElement(const T& value, bool throwOnError = true) {
        ZEL_ASSERT_VARIANT_VALUE(SubstituteFor<T>);
        return PushElement<SubstituteFor<T>>(value, throwOnError);
    }
    ///@}

    /// Parses the text form, which is a number or the string itself; for an array the elements with
    /// STRING_VECTOR_SEPARATOR between them, preceded by their count and a separator if `withSize`.
    /// Logs at level 3 and returns false if the text doesn't fit; the variant keeps its value then.
    ///
    /// Nothing is escaped or repaired, so some values don't survive the text form:
    ///
    /// | Value or text | Is read as |
    /// |---|---|
    /// | a string that contains the separator | several elements |
    /// | an array of one empty string, without count | no element; rejected if the size is fixed |
    /// | an array without elements, with count | rejected |
    /// | an 8-bit number beyond 8 bits | its low 8 bits |
    /// | an 8-bit number beyond 16 bits | rejected |
    bool ReadValueFromString(const std::string& text, bool withSize);

    /// Returns the text form. A scalar with the fixed flag has none: the failure is logged at level
    /// 3 and the text is empty.
    std::string WriteValueToString(bool withSize) const;

    /// Parses `text` as an element and inserts it before the element at `index`, or appends it if
    /// `index` is negative. Rejects an `index` at or after the end, a fixed-size array, an 8-bit
    /// number beyond 8 bits and a null `text`. With `throwOnError` these throw `Exception`, or
    /// VariantEx for the fixed size. Returns false for a scalar, without logging or throwing.
    bool AddElementToVectorAsString(int index, const char* text, bool throwOnError);

    /// Removes the element at `index` of a variable-size array; does nothing and returns true if
    /// there is none. Returns false for a scalar and a fixed-size array, without logging or
    /// throwing.
    bool RemoveElementFromVector(int index, bool throwOnError);

    /// Reads the stream form: numbers with their most significant byte first; a string followed by
    /// a byte 0; an array preceded by its number of elements in 8 bytes. Logs at level 3 and
    /// returns false if the stream ends early or throws a `std::exception`, or if the variant
    /// doesn't take the value; the bytes that were read stay consumed and the variant keeps its
    /// value.
    ///
    /// A count is not trusted: memory grows with the bytes that arrive. A count of more bytes than
    /// an address space can have throws `std::bad_alloc`.
    bool ReadValueFromStream(std::istream& in);

    /// Writes the stream form. A string that contains a byte 0 is written whole, but is read only
    /// up to that byte. If the stream changes the variant meanwhile, the old value is written. The
    /// state of the stream isn't checked. Returns false, after logging at level 3, only for a
    /// scalar with the fixed flag.
    bool WriteValueToStream(std::ostream& out) const;

    /// Reads or writes the buffer form at `buffer`, which needs no alignment and lies outside the
    /// variant. The bytes are those of the stream form, with two exceptions: an array has its count
    /// only if `withSize`; and the characters after the first byte 0 of a string are written as
    /// zeros. Without a count, as many elements are read as the array has; an array of numbers must
    /// have some.
    ///
    /// `bytes` is the number of bytes available at `buffer`. On success the number used is
    /// subtracted, and the address after the last byte is returned. On failure the message is
    /// logged at level 3, null is returned, and variant, buffer and `bytes` are unchanged.
    ///@{
    void* ReadValueFromBuffer(void* buffer, unsigned long long& bytes, bool withSize);
    void* WriteValueToBuffer(void* buffer, unsigned long long& bytes, bool withSize) const;
    template <class Byte>
    requires std::is_const_v<Byte>
    const void* ReadValueFromBuffer(Byte* buffer, unsigned long long& bytes, bool withSize) {
        return ReadValueFromBuffer(const_cast<std::remove_const_t<Byte>*>(buffer), bytes, withSize);
    }
    ///@}

    /// Returns the number of bytes that WriteValueToBuffer uses; 0 for a scalar with the fixed
    /// flag, which has no buffer form.
    unsigned long long GetSizeInBuffer(bool withSize) const;

    /// Returns whether the value is an array, of fixed or variable size. Unlocked.
    bool IsArray() const { return (GetTypeID() & TypeID::ARRAY_BITS) != 0; }

    /// Returns whether the value is an array of fixed size. Unlocked.
    bool IsFixedSize() const { return (GetTypeID() & TypeID::FIXED_ARRAY) != 0; }

    /// Returns the type name. CreateByTypeName makes a variant of the same type of it, unless a
    /// fixed-size array has more than INT_MAX elements. Throws `Exception` if the type ID of a
    /// user-defined class is none of the 22.
    std::string GetTypeName() const;

    /// Returns the type ID of an integer type of `size` bytes, without checking it. Thread-safe.
    static int MakeID(bool isSigned, unsigned short size) {
        constexpr int signedClass = 0x20;
        constexpr int unsignedClass = 0x10;
        return (isSigned ? signedClass : unsignedClass) | size;
    }

    /// Returns a new variant with a default value, null for an unknown type ID. A fixed-size array
    /// has no elements until SetNumberOfElements. Thread-safe.
    static RCPtr<VariantBase> CreateByID(int id);

    /// Returns a new variant with a default value; a fixed-size array has its elements. Throws
    /// `Exception` for an unknown name, a missing `]`, and a size that is not a number or exceeds
    /// INT_MAX. Characters after the `]` are ignored. Thread-safe.
    static RCPtr<VariantBase> CreateByTypeName(const std::string& name);

    /// Logs in the log area of variants, at level 3 or 5. Does nothing if `message` is null.
    /// Thread-safe.
    ///@{
    static void LogMessage(const char* message);
    static void LogDebugMessage(const char* message);
    ///@}

    /// Logs at level 2 and throws VariantEx. Returns if `message` is null. Thread-safe.
    static void Throw(const char* message);

protected:
    /// Constructs the base of a user-defined class, which GetValue and SetValue reject.
    VariantBase() = default;

    /// Constructs the base of `Variant<T>`. `valueCode` is `ValueTraits<T>::Code`.
    VariantBase(int valueCode, bool isFixed) : m_isFixed(isFixed), m_valueCode(valueCode) {}

    VariantBase(const VariantBase& other)
        : RCObject(), m_isFixed(other.m_isFixed), m_valueCode(other.m_valueCode) {}
    VariantBase& operator=(const VariantBase& other) noexcept {
        m_isFixed = other.m_isFixed;
        return *this;
    }

    bool m_isFixed = false;        ///< Whether an array keeps its size.
    mutable CriticalSection m_cs;  ///< The variant's lock, which guards the value.

private:
    friend class VariantAccess;

    template <class T>
    bool StoreValue(const T& value, bool throwOnError);
    template <class T>
    bool FetchValue(T* value, bool throwOnError) const;
    template <class T>
    T FetchOrThrow() const;
    template <class T>
    bool MoveValue(T& value, bool throwOnError);
    template <class T>
    bool StoreIfExact(T value, bool throwOnError);
    template <class T>
    T FetchElement(std::size_t index) const;
    template <class T>
    bool StoreElement(std::size_t index, const T& value, bool throwOnError);
    template <class T>
    bool PushElement(const T& value, bool throwOnError);

    const int m_valueCode = 0;
};

/// Writes the text form without a count, in the stream's width.
ZEL_ADVANCED_API std::ostream& operator<<(std::ostream& out, const VariantBase& variant);

}  // namespace zel
