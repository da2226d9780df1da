#pragma once

#include <cstddef>

namespace zel::test {

// Counts and fails allocations. AllocationWatch.cpp replaces the test program's global allocator.

// Returns the number of allocations that the calling thread has requested so far.
std::size_t CountAllocations() noexcept;

// Returns the number of blocks that the calling thread allocated less those that it freed.
long CountBlocksHeld() noexcept;

// Fails the calling thread's allocations after the next `count`: all of them, or the first if
// `onlyOne`. -1 stops failing them. Returns whether one has failed since the last call.
bool FailAllocationsAfter(long count, bool onlyOne = false) noexcept;

// Calls `onFree` once, when `block` is freed.
void WatchBlock(const void* block, void (*onFree)()) noexcept;

}  // namespace zel::test
