#pragma once

#include "zel/variant/VariantBase.h"

#include <string>
#include <vector>

namespace zel {

/// Converts between two numeric element types. A converter exists for each pair of numeric element
/// types, for each pair of arrays of these, and for the four pairs of string and array of strings.
///
/// SetValue and GetValue of VariantBase allow only conversions that can't lose range; a converter
/// that is called directly also narrows:
///
/// | From | To | Result if the value doesn't fit |
/// |---|---|---|
/// | integer | integer | the low bits |
/// | `float`, `double` | integer | the nearest limit; 0 for a NaN |
/// | `double` | `float` | the largest finite value, with the sign |
///
/// Requires: the pointers aren't null. Thread-safe for the variant, as its own functions are.
///
/// Guide: docs/variants.md
template <class SourceT, class TargetT>
class ZEL_ADVANCED_API VariantValueConverter {
public:
    static_assert(NumericElement<SourceT> && NumericElement<TargetT>,
                  "there is no converter between these two types");

    /// Casts `value` to `TargetT` and calls SetValue of the variant with it.
    static bool SetValueImp(VariantBase* variant, const SourceT& value, bool throwOnError);

    /// Calls GetValue of the variant for a `SourceT` and casts it to `TargetT`.
    static bool GetValueImp(const VariantBase* variant, TargetT* value, bool throwOnError);
};

/// Converts between two arrays of numbers.
template <class SourceE, class TargetE>
class ZEL_ADVANCED_API VariantValueConverter<std::vector<SourceE>, std::vector<TargetE>> {
public:
    static_assert(NumericElement<SourceE> && NumericElement<TargetE>,
                  "there is no converter between these two types");

    /// Casts each element and calls SetValue of the variant with the new array. Rejects another
    /// number of elements than a fixed-size array has, even if it has none.
    static bool SetValueImp(VariantBase* variant, const std::vector<SourceE>& value,
                            bool throwOnError);

    /// Calls GetValue of the variant, casts each element and appends it to `value`.
    static bool GetValueImp(const VariantBase* variant, std::vector<TargetE>* value,
                            bool throwOnError);
};

/// The pair string and string, which has no function.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::string, std::string> {
public:
    /// Logs at level 3 and returns false. The arguments may be null.
    ///@{
    static bool SetValueImp(VariantBase*, const std::string&, bool);
    static bool GetValueImp(const VariantBase*, std::string*, bool);
    static bool AddElementToVector(int, VariantBase*, std::string*, bool);
    ///@}
};

/// The pair array of strings and array of strings, which has no function.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::vector<std::string>, std::vector<std::string>> {
public:
    /// Logs at level 3 and returns false. The arguments may be null.
    ///@{
    static bool SetValueImp(VariantBase*, const std::vector<std::string>&, bool);
    static bool GetValueImp(const VariantBase*, std::vector<std::string>*, bool);
    static bool AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool);
    ///@}
};

/// Converts the value of a variant to text.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::vector<std::string>, std::string> {
public:
    /// Sets `value` to the text form of any variant, without a count, and returns true.
    static bool GetValueImp(const VariantBase* variant, std::string* value, bool throwOnError);

    /// Logs at level 3 and returns false. The arguments may be null.
    ///@{
    static bool SetValueImp(VariantBase*, const std::vector<std::string>&, bool);
    static bool AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool);
    ///@}
};

/// Converts text to the value of a variant.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::string, std::vector<std::string>> {
public:
    /// Reads the text form without a count into any variant. Never throws `VariantEx`.
    static bool SetValueImp(VariantBase* variant, const std::string& value, bool throwOnError);

    /// Logs at level 3 and returns false. The arguments may be null.
    static bool GetValueImp(const VariantBase*, std::vector<std::string>*, bool);

    /// Inserts `element` before the string at `index`, or appends it if `index` is negative.
    /// Rejects an `index` at or after the end and a fixed-size array.
    ///
    /// If the variant is an array of numbers, an `element` that is not a number throws
    /// `StringUtilsEx`, whatever `throwOnError` is, and leaves only the numbers before it in the
    /// array.
    static bool AddElementToVector(int index, VariantBase* variant, std::string* element,
                                   bool throwOnError);
};

}  // namespace zel
