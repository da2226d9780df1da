#pragma once

#include "zel/variant/VariantBase.h"

#include <string>
#include <vector>

namespace zel {

// Carries out one conversion between value types: SetValueImp from the caller's type SourceT to the
// variant's TargetT, GetValueImp from the variant's SourceT to the caller's TargetT. VariantBase
// calls those that can't lose range; called directly, a converter casts: integers keep their low
// bits, a floating-point number that is out of an integer's range gives the nearest limit, and a
// NaN 0. It exists for each pair of numeric elements, each pair of arrays of those, and the four
// pairs of string and array of strings. Converters take no lock beyond that of the variant's own
// operations.
template <class SourceT, class TargetT>
class ZEL_ADVANCED_API VariantValueConverter {
public:
    static_assert(NumericElement<SourceT> && NumericElement<TargetT>,
                  "there is no converter between these two types");

    // Store in the variant and fetch from it, by its SetValue and GetValue, whose result they give.
    static bool SetValueImp(VariantBase* variant, const SourceT& value, bool throwOnError);
    static bool GetValueImp(const VariantBase* variant, TargetT* value, bool throwOnError);
};

// GetValueImp appends to `value`.
template <class SourceE, class TargetE>
class ZEL_ADVANCED_API VariantValueConverter<std::vector<SourceE>, std::vector<TargetE>> {
public:
    static_assert(NumericElement<SourceE> && NumericElement<TargetE>,
                  "there is no converter between these two types");

    // Store in the variant and fetch from it, by its SetValue and GetValue, whose result they give.
    static bool SetValueImp(VariantBase* variant, const std::vector<SourceE>& value,
                            bool throwOnError);
    static bool GetValueImp(const VariantBase* variant, std::vector<TargetE>* value,
                            bool throwOnError);
};

// Of the string pairs only three operations have a meaning: SetValueImp and AddElementToVector of
// the last class, GetValueImp of the one before. All others log a line at level 3 and give false.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::string, std::string> {
public:
    // Without a meaning.
    static bool SetValueImp(VariantBase*, const std::string&, bool);
    static bool GetValueImp(const VariantBase*, std::string*, bool);
    static bool AddElementToVector(int, VariantBase*, std::string*, bool);
};

// An array and an array, where nothing has a meaning.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::vector<std::string>, std::vector<std::string>> {
public:
    // Without a meaning.
    static bool SetValueImp(VariantBase*, const std::vector<std::string>&, bool);
    static bool GetValueImp(const VariantBase*, std::vector<std::string>*, bool);
    static bool AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool);
};

// A variant's value to a text: only GetValueImp has a meaning.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::vector<std::string>, std::string> {
public:
    // Without a meaning.
    static bool SetValueImp(VariantBase*, const std::vector<std::string>&, bool);

    // The text form of any variant, without a count.
    static bool GetValueImp(const VariantBase* variant, std::string* value, bool throwOnError);

    // Without a meaning.
    static bool AddElementToVector(int, VariantBase*, std::vector<std::string>*, bool);
};

// A text to a variant's value: only GetValueImp has no meaning.
template <>
class ZEL_ADVANCED_API VariantValueConverter<std::string, std::vector<std::string>> {
public:
    // Reads the text form without a count into any variant.
    static bool SetValueImp(VariantBase* variant, const std::string& value, bool throwOnError);

    // Without a meaning.
    static bool GetValueImp(const VariantBase*, std::vector<std::string>*, bool);

    // Inserts a string before the element at `index`, or appends it for a negative `index`.
    static bool AddElementToVector(int index, VariantBase* variant, std::string* element,
                                   bool throwOnError);
};

}  // namespace zel
