#pragma once

#include "zel/variant/VariantBase.h"

/// @file
/// The implementations of the buffer form of VariantBase, for callers that know the element type
/// `T`. `variant` and `buffer` may be null, which is reported as a failure.
///
/// Failures are logged at level 3 and return null. If `T` is `std::string` but the variant an array
/// of numbers, a string that is not a number throws `StringUtilsEx`. A failure leaves the variant
/// unchanged.
///
/// Thread-safe for the variant, whose lock is held for the whole call.
///
/// Guide: docs/variants.md

/// Do what the functions of VariantBase with these names do.
///@{
template <zel::VariantElement T>
ZEL_ADVANCED_API void* ReadScalarValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                                    unsigned long long& bytes);
template <zel::VariantElement T>
ZEL_ADVANCED_API void* WriteScalarValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                                   unsigned long long& bytes);
template <zel::VariantElement T>
ZEL_ADVANCED_API void* ReadVectorValueFromBufferImp(zel::VariantBase* variant, void* buffer,
                                                    unsigned long long& bytes, bool withSize);
template <zel::VariantElement T>
ZEL_ADVANCED_API void* WriteVectorValueToBufferImp(zel::VariantBase* variant, void* buffer,
                                                   unsigned long long& bytes, bool withSize);
///@}
