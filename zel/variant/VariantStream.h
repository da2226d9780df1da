#pragma once

#include "zel/variant/VariantBase.h"

/// @file
/// The implementations of the stream form of VariantBase, for callers that know the element type
/// `T`. `variant` may be null, which is reported as a failure.
///
/// Failures are logged at level 3 and return false. If `T` is `std::string` but the variant an
/// array of numbers, a string that is not a number throws `StringUtilsEx`. A failure leaves the
/// variant unchanged.
///
/// The variant's lock is held while the value is fetched or stored, not while the stream works. Not
/// thread-safe for the stream.
///
/// Guide: docs/variants.md

/// Do what the functions of VariantBase with these names do.
///@{
template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadScalarValueFromStreamImp(zel::VariantBase* variant, std::istream& in);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool WriteScalarValueToStreamImp(zel::VariantBase* variant, std::ostream& out);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool ReadVectorValueFromStreamImp(zel::VariantBase* variant, std::istream& in);
template <zel::VariantElement T>
ZEL_ADVANCED_API bool WriteVectorValueToStreamImp(zel::VariantBase* variant, std::ostream& out);
///@}
