#pragma once

#include "zel/variant/VariantBase.h"

/// @file
/// The implementations of the text form of VariantBase, for callers that know the element type `T`.
/// `variant` may be null, which is reported as a failure.
///
/// Failures are logged at level 3 and return false or an empty text; AddElementToVectorAsStringImp
/// and RemoveElementFromVectorImp throw `Exception` instead if `throwOnError`. If `T` is
/// `std::string` but the variant an array of numbers, a string that is not a number throws
/// `StringUtilsEx`. A failure leaves the variant unchanged.
///
/// Thread-safe: the variant's lock is held for the whole call.
///
/// Guide: docs/variants.md

/// Do what the functions of VariantBase with these names do.
///@{
template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadScalarValueFromStringImp(zel::VariantBase* variant,
                                                   const std::string& text);
template <zel::VariantElement T>
ZEL_ADVANCED_API std::string WriteScalarValueToStringImp(const zel::VariantBase* variant);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadVectorValueFromStringImp(zel::VariantBase* variant,
                                                   const std::string& text, bool withSize);
template <zel::VariantElement T>
ZEL_ADVANCED_API std::string WriteVectorValueToStringImp(const zel::VariantBase* variant,
                                                         bool withSize);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool AddElementToVectorAsStringImp(zel::VariantBase* variant, int index,
                                                    const char* text, bool throwOnError);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool RemoveElementFromVectorImp(int index, zel::VariantBase* variant,
                                                 bool throwOnError);
///@}
