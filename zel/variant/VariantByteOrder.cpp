#include "zel/variant/VariantByteOrder.h"

#include "zel/variant/VariantNetworkOrder.h"

namespace zel {

namespace {

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

}  // namespace

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

template void ReverseAll<std::uint16_t>(const void*, void*, std::size_t);
template void ReverseAll<std::uint32_t>(const void*, void*, std::size_t);
template void ReverseAll<std::uint64_t>(const void*, void*, std::size_t);

bool Variant_IsInNetworkOrder() {
    return std::endian::native == std::endian::big;
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
