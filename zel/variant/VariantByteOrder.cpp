#include "zel/variant/VariantByteOrderImp.h"

namespace zel {

namespace {

// So short a loop takes twice as long where it happens to lie across two lines of the cache.
#if defined(__x86_64__) && !defined(__clang__)
#define ZEL_WIDE_VECTORS [[gnu::target("avx2"), gnu::optimize("O3", "align-loops=64")]]
#elif defined(__x86_64__)
#define ZEL_WIDE_VECTORS [[gnu::target("avx2")]]
#endif

// Written once and compiled for each set of instructions that it is worth choosing at run time.
template <class Bits>
[[gnu::always_inline]] inline void ReverseEach(const unsigned char* from, unsigned char* to,
                                               std::size_t count) {
    // The two are apart or the same block, which the compiler can't know.
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

#ifdef ZEL_WIDE_VECTORS
template <class Bits>
ZEL_WIDE_VECTORS void ReverseEachWide(const unsigned char* from, unsigned char* to,
                                      std::size_t count) {
    ReverseEach<Bits>(from, to, count);
}
#endif

template <class Bits>
void ReverseAll(const void* from, void* to, std::size_t count) {
    const auto* const source = static_cast<const unsigned char*>(from);
    auto* const target = static_cast<unsigned char*>(to);
#ifdef ZEL_WIDE_VECTORS
    constexpr std::size_t fewest = 16;
    if (count >= fewest && __builtin_cpu_supports("avx2")) {
        ReverseEachWide<Bits>(source, target, count);
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

}  // namespace zel
