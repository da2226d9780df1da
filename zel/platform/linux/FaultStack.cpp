#include "zel/platform/FaultStack.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <new>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

// The kernel's frame takes up to 12 KiB, the walk with its look-ups and the longest readable names
// the rest. Untouched pages cost no memory.
constexpr std::size_t USABLE_SIZE = 256 * 1024;
constexpr std::uint64_t HEADER_MARK = 0x7A656C5374616B31;

// Stored at the lowest address of the stack, which the kernel reports as its start.
struct Header {
    std::uint64_t mark;
    stack_t previous;
};

// Returned stacks. Mapping and unmapping one costs more than starting a thread.
constinit std::array<std::atomic<void*>, 16> s_free = {};

std::size_t GuardSize() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

Header* HeaderIn(void* memory) {
    return reinterpret_cast<Header*>(static_cast<char*>(memory) + GuardSize());
}

void* MapStack() {
    void* const memory = mmap(nullptr, GuardSize() + USABLE_SIZE, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    mprotect(memory, GuardSize(), PROT_NONE);
    return memory;
}

void* TakeStack() {
    for (std::atomic<void*>& slot : s_free) {
        if (slot.load(std::memory_order_relaxed) != nullptr) {
            if (void* const memory = slot.exchange(nullptr)) {
                return memory;
            }
        }
    }
    return MapStack();
}

void ReturnStack(void* memory) {
    for (std::atomic<void*>& slot : s_free) {
        void* none = nullptr;
        if (slot.compare_exchange_strong(none, memory)) {
            return;
        }
    }
    munmap(memory, GuardSize() + USABLE_SIZE);
}

bool IsOurs(const stack_t& stack) {
    return (stack.ss_flags & SS_DISABLE) == 0 && stack.ss_size == USABLE_SIZE &&
           static_cast<const Header*>(stack.ss_sp)->mark == HEADER_MARK;
}

bool IsMainThread() {
    return syscall(SYS_gettid) == getpid();
}

}  // namespace

FaultStack::FaultStack() noexcept : m_memory(TakeStack()) {
    if (m_memory != nullptr) {
        auto* const header = new (HeaderIn(m_memory)) Header{HEADER_MARK, {}};
        stack_t stack = {};
        stack.ss_sp = header;
        stack.ss_size = USABLE_SIZE;
        sigaltstack(&stack, &header->previous);
    }
}

FaultStack::~FaultStack() {
    if (m_memory == nullptr) {
        return;
    }
    const Header* const header = HeaderIn(m_memory);
    stack_t current = {};
    // The call fails on that very stack, which then remains.
    if (sigaltstack(&header->previous, &current) != 0) {
        return;
    }
    // A stack that was set after this one remains set.
    if (current.ss_sp != header) {
        sigaltstack(&current, nullptr);
    }
    ReturnStack(m_memory);
}

void InstallFaultStack() noexcept {
    stack_t current = {};
    if (sigaltstack(nullptr, &current) == 0 && IsOurs(current)) {
        return;
    }
    if (IsMainThread()) {
        static const FaultStack* const s_stack = new (std::nothrow) FaultStack;
        static_cast<void>(s_stack);
    } else {
        static thread_local const FaultStack t_stack;
        static_cast<void>(t_stack);
    }
}

}  // namespace zel::platform
