#include "zel/variant/VariantByteOrder.h"

#include "zel/variant/VariantNetworkOrder.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zel {

namespace {

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

// The alignment keeps the short loop within one cache line; across two it takes twice as long.
#if defined(__x86_64__) && !defined(__clang__)
#define ZEL_SIMD [[gnu::target("avx2"), gnu::optimize("O3", "align-loops=64")]]
#elif defined(__x86_64__)
#define ZEL_SIMD [[gnu::target("avx2")]]
#endif

// Compiled once for the base instruction set and once for SIMD, which is chosen at run time.
template <class Bits>
[[gnu::always_inline]] inline void ReverseEach(const unsigned char* from, unsigned char* to,
                                               std::size_t count) {
    // The blocks are the same or don't overlap, which the compiler can't prove.
#if defined(__clang__)
#pragma clang loop vectorize(assume_safety)
#endif
    for (std::size_t i = 0; i < count; ++i) {
        Bits bits;
        std::memcpy(&bits, from + i * sizeof bits, sizeof bits);
        bits = ReverseBytes(bits);
        std::memcpy(to + i * sizeof bits, &bits, sizeof bits);
    }
}

#ifdef ZEL_SIMD
template <class Bits>
ZEL_SIMD void ReverseEachSimd(const unsigned char* from, unsigned char* to, std::size_t count) {
    ReverseEach<Bits>(from, to, count);
}
#endif

template <class Bits>
void ReverseAll(const void* from, void* to, std::size_t count) {
    const auto* const source = static_cast<const unsigned char*>(from);
    auto* const target = static_cast<unsigned char*>(to);
#ifdef ZEL_SIMD
    constexpr std::size_t fewest = 16;
    if (count >= fewest && __builtin_cpu_supports("avx2")) {
        ReverseEachSimd<Bits>(source, target, count);
        return;
    }
#endif
    ReverseEach<Bits>(source, target, count);
}

}  // namespace

bool Variant_IsInNetworkOrder() {
    return std::endian::native == std::endian::big;
}

void CopyToNetworkOrder(const void* from, void* to, std::size_t count, std::size_t width) {
    if (count == 0) {
        return;
    }
    if (width == 1 || Variant_IsInNetworkOrder()) {
        std::memmove(to, from, count * width);
    } else if (width == 2) {
        ReverseAll<std::uint16_t>(from, to, count);
    } else if (width == 4) {
        ReverseAll<std::uint32_t>(from, to, count);
    } else {
        ReverseAll<std::uint64_t>(from, to, count);
    }
}

template <NumericElement T>
T Variant_ToNetworkOrder(T value, bool force) {
    const bool keeps = Variant_IsInNetworkOrder() && !force;
    return keeps ? value : std::bit_cast<T>(ReverseBytes(std::bit_cast<BitsOf<T>>(value)));
}

#define ZEL_INSTANTIATE_BYTE_ORDER(T, ...) template T Variant_ToNetworkOrder(T, bool);
ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_INSTANTIATE_BYTE_ORDER)
#undef ZEL_INSTANTIATE_BYTE_ORDER

}  // namespace zel
