#include "bench/support/Heap.h"

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

// Thread-local, so that counting adds no atomic instruction to either side of a comparison.
constinit thread_local std::size_t t_blocks = 0;

}  // namespace

void* operator new(std::size_t size) {
    ++t_blocks;
    if (void* const block = std::malloc(size != 0 ? size : 1)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace zel::bench {

std::size_t GetHeapBytes() noexcept {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void TidyHeap() noexcept {
    malloc_trim(0);
}

std::size_t GetHeapBlocks() noexcept {
    return t_blocks;
}

}  // namespace zel::bench
