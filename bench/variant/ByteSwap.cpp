#include "bench/variant/ByteSwap.h"

#include <algorithm>
#include <array>
#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace zel::bench {

namespace {

template <std::size_t width>
void SwapEach(const char* from, char* to, std::size_t bytes) {
    for (std::size_t done = 0; done < bytes; done += width) {
        char unit[width];
        std::memcpy(unit, from + done, width);
        std::reverse_copy(unit, unit + width, to + done);
    }
}

#ifdef __x86_64__

// Returns the source index of each byte within its half of a register.
template <std::size_t width>
constexpr auto MakeOrder() {
    std::array<char, sizeof(__m256i)> order{};
    for (std::size_t i = 0; i < order.size(); ++i) {
        order[i] = static_cast<char>((i / width * width + width - 1 - i % width) % 16);
    }
    return order;
}

template <std::size_t width>
[[gnu::target("avx2")]] std::size_t SwapWide(const char* from, char* to, std::size_t bytes) {
    alignas(__m256i) static constexpr auto s_order = MakeOrder<width>();
    const __m256i order = _mm256_load_si256(reinterpret_cast<const __m256i*>(s_order.data()));
    std::size_t done = 0;
    for (; done + sizeof order <= bytes; done += sizeof order) {
        const __m256i units = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + done));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + done),
                            _mm256_shuffle_epi8(units, order));
    }
    return done;
}

#endif

template <std::size_t width>
void Swap(const char* from, char* to, std::size_t bytes) {
    std::size_t done = 0;
#ifdef __x86_64__
    if (bytes >= sizeof(__m256i) && __builtin_cpu_supports("avx2")) {
        done = SwapWide<width>(from, to, bytes);
    }
#endif
    SwapEach<width>(from + done, to + done, bytes - done);
}

}  // namespace

template <class T>
void SwapBytes(const T* from, T* to, std::size_t count) {
    Swap<sizeof(T)>(reinterpret_cast<const char*>(from), reinterpret_cast<char*>(to),
                    count * sizeof(T));
}

template void SwapBytes(const unsigned short*, unsigned short*, std::size_t);
template void SwapBytes(const int*, int*, std::size_t);
template void SwapBytes(const unsigned long long*, unsigned long long*, std::size_t);
template void SwapBytes(const double*, double*, std::size_t);

}  // namespace zel::bench
