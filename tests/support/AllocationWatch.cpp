#include "tests/support/AllocationWatch.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <utility>

namespace zel::test {

namespace {

thread_local std::size_t t_allocations = 0;
thread_local long t_blocksHeld = 0;
thread_local long t_allocationsLeft = -1;
thread_local bool t_failsOnlyOne = false;
thread_local bool t_hasFailed = false;
std::atomic<const void*> s_watchedBlock{nullptr};
void (*s_onFree)() = nullptr;

void* Allocate(std::size_t size) {
    ++t_allocations;
    if (t_allocationsLeft == 0) {
        t_hasFailed = true;
        t_allocationsLeft -= t_failsOnlyOne ? 1 : 0;
        throw std::bad_alloc();
    }
    t_allocationsLeft -= t_allocationsLeft > 0 ? 1 : 0;
    void* const block = std::malloc(size == 0 ? 1 : size);
    t_blocksHeld += block != nullptr ? 1 : 0;
    return block != nullptr ? block : throw std::bad_alloc();
}

void Free(void* block) noexcept {
    const void* watched = block;
    if (block != nullptr && s_watchedBlock.compare_exchange_strong(watched, nullptr)) {
        s_onFree();
    }
    t_blocksHeld -= block != nullptr ? 1 : 0;
    std::free(block);
}

}  // namespace

std::size_t CountAllocations() noexcept {
    return t_allocations;
}

long CountBlocksHeld() noexcept {
    return t_blocksHeld;
}

bool FailAllocationsAfter(long count, bool onlyOne) noexcept {
    t_allocationsLeft = count;
    t_failsOnlyOne = onlyOne;
    return std::exchange(t_hasFailed, false);
}

void WatchBlock(const void* block, void (*onFree)()) noexcept {
    s_onFree = onFree;
    s_watchedBlock = block;
}

}  // namespace zel::test

void* operator new(std::size_t size) {
    return zel::test::Allocate(size);
}

void* operator new[](std::size_t size) {
    return zel::test::Allocate(size);
}

void operator delete(void* block) noexcept {
    zel::test::Free(block);
}

void operator delete[](void* block) noexcept {
    zel::test::Free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    zel::test::Free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    zel::test::Free(block);
}
