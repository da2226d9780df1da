#pragma once

#include <cstddef>

namespace zel::bench {

// Reverses the bytes of each of `count` numbers, with AVX2 if the processor supports it. The blocks
// must be disjoint or the same.
template <class T>
void SwapBytes(const T* from, T* to, std::size_t count);

}  // namespace zel::bench
