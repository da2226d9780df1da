#pragma once

#include <cstddef>

namespace zel::test {

// Watches the global allocator of the test program, which AllocationWatch.cpp replaces.

// How many blocks the calling thread has asked for so far.
std::size_t CountAllocations() noexcept;

// How many of them it was refused.
std::size_t CountRefusals() noexcept;

// How many it has got and hasn't given back.
long CountBlocksHeld() noexcept;

// Lets the calling thread's next `count` requests succeed and all later ones fail, or `onlyOne`;
// -1 ends it.
void FailAllocationsAfter(long count, bool onlyOne = false) noexcept;

// Calls `onFree` once when `block` is given back.
void WatchBlock(const void* block, void (*onFree)()) noexcept;

}  // namespace zel::test
