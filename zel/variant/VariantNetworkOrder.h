#pragma once

#include "zel/variant/ElementTypes.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zel {

// The unsigned integer of a number's width. Bytes are swapped in it, because a floating-point
// register may change a bit pattern.
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

// Reverses the bytes of each of `count` units. The two blocks are the same or don't overlap, and
// need no alignment.
template <class Bits>
void ReverseAll(const void* from, void* to, std::size_t count);

extern template void ReverseAll<std::uint16_t>(const void*, void*, std::size_t);
extern template void ReverseAll<std::uint32_t>(const void*, void*, std::size_t);
extern template void ReverseAll<std::uint64_t>(const void*, void*, std::size_t);

// Copies `count` numbers of type T from host to network order, or back. The two blocks are the same
// or don't overlap, and need no alignment.
template <NumericElement T>
void CopyToNetworkOrder(const void* from, void* to, std::size_t count) {
    if constexpr (sizeof(T) != 1 && std::endian::native != std::endian::big) {
        ReverseAll<BitsOf<T>>(from, to, count);
    } else if (from != to && count != 0) {
        std::memcpy(to, from, count * sizeof(T));
    }
}

template <NumericElement T>
void StoreInNetworkOrder(T value, void* to) {
    auto bits = std::bit_cast<BitsOf<T>>(value);
    bits = std::endian::native == std::endian::big ? bits : ReverseBytes(bits);
    std::memcpy(to, &bits, sizeof bits);
}

template <NumericElement T>
T LoadFromNetworkOrder(const void* from) {
    BitsOf<T> bits;
    std::memcpy(&bits, from, sizeof bits);
    return std::bit_cast<T>(std::endian::native == std::endian::big ? bits : ReverseBytes(bits));
}

}  // namespace zel
