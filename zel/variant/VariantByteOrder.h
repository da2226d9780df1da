#pragma once

#include "zel/foundation/Export.h"
#include "zel/variant/ElementTypes.h"

/// @file
/// Byte order of the stream form and the buffer form.
///
/// Guide: docs/variants.md

namespace zel {

/// Returns whether the host stores numbers with their most significant byte first. Thread-safe.
ZEL_ADVANCED_API bool Variant_IsInNetworkOrder();

/// Converts a number from host to network order, or back. `force` reverses the bytes on every host.
/// A float or double whose bytes are reversed is a bit pattern to store, not a number to compute
/// with. Thread-safe.
///@{
template <NumericElement T>
ZEL_ADVANCED_API T Variant_ToNetworkOrder(T value, bool force);
template <SubstitutedNumber T>
T Variant_ToNetworkOrder(T value, bool force) {
    return static_cast<T>(Variant_ToNetworkOrder(static_cast<SubstituteFor<T>>(value), force));
}
///@}

}  // namespace zel
