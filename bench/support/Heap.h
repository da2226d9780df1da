#pragma once

#include <cstddef>

namespace zel::bench {

// The bytes of heap in use by the whole process, the allocator's own share included.
std::size_t GetHeapBytes() noexcept;

// Joins all free blocks and hands what it can back to the system, so that what ran before doesn't
// scatter the blocks of what runs next.
void TidyHeap() noexcept;

// How many blocks the calling thread has got from operator new so far.
std::size_t GetHeapBlocks() noexcept;

}  // namespace zel::bench
