#pragma once

#include <cstddef>

namespace zel::bench {

// Returns the bytes of heap in use by the process, including the allocator's overhead.
std::size_t GetHeapBytes() noexcept;

// Coalesces free blocks and returns memory to the system, so that one benchmark doesn't fragment
// the heap of the next.
void TidyHeap() noexcept;

// Returns the number of blocks that the calling thread has allocated by operator new so far.
std::size_t GetHeapBlocks() noexcept;

}  // namespace zel::bench
