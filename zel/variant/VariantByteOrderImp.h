#pragma once

#include "zel/variant/VariantByteOrder.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zel {

// The unsigned integer of a number's width: bytes change places in it, as a floating-point register
// may change a pattern that is no proper number.
template <class T>
using BitsOf = std::conditional_t<
    sizeof(T) == 1, std::uint8_t,
    std::conditional_t<sizeof(T) == 2, std::uint16_t,
                       std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;

template <class Bits>
constexpr Bits ReverseBytes(Bits bits) noexcept {
    if constexpr (sizeof(Bits) == 2) {
        return static_cast<Bits>(bits << 8 | bits >> 8);
    } else if constexpr (sizeof(Bits) == 4) {
        return __builtin_bswap32(bits);
    } else if constexpr (sizeof(Bits) == 8) {
        return __builtin_bswap64(bits);
    } else {
        return bits;
    }
}

template <NumericElement T>
T Variant_ToNetworkOrder(T value, bool force) {
    const bool keeps = Variant_IsInNetworkOrder() && !force;
    return keeps ? value : std::bit_cast<T>(ReverseBytes(std::bit_cast<BitsOf<T>>(value)));
}

// Copies `count` units of `width` bytes from host to network order, or back. The two may be one
// block, but not overlap otherwise; neither needs an alignment.
void CopyToNetworkOrder(const void* from, void* to, std::size_t count, std::size_t width);

template <class T>
void StoreInNetworkOrder(T value, void* to) {
    CopyToNetworkOrder(&value, to, 1, sizeof value);
}

template <class T>
T LoadFromNetworkOrder(const void* from) {
    T value{};
    CopyToNetworkOrder(from, &value, 1, sizeof value);
    return value;
}

}  // namespace zel
