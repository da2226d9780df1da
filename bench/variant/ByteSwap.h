#pragma once

#include <cstddef>

namespace zel::bench {

// Reverses the bytes of each of `count` numbers, by AVX2 where the processor has it. The blocks
// don't overlap, or are the same.
template <class T>
void SwapBytes(const T* from, T* to, std::size_t count);

}  // namespace zel::bench
