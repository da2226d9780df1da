#pragma once

#include "zel/foundation/Export.h"
#include "zel/variant/ElementTypes.h"

namespace zel {

// True on a host whose numbers have their most significant byte first in memory.
ZEL_ADVANCED_API bool Variant_IsInNetworkOrder();

// Turns a number of the host to network order, and back. `force` reverses the bytes on every host.
// A float or double whose bytes are reversed is a pattern of bits, not a number to reckon with.
template <NumericElement T>
ZEL_ADVANCED_API T Variant_ToNetworkOrder(T value, bool force);

#define ZEL_DECLARE_BYTE_ORDER(T, ...) extern template T Variant_ToNetworkOrder(T, bool);
ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_DECLARE_BYTE_ORDER)
#undef ZEL_DECLARE_BYTE_ORDER

}  // namespace zel
