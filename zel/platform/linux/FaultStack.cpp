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

// The kernel's frame takes up to 12 KiB, the walk with its look-ups and a readable name of the
// longest kind the rest. What isn't touched costs no memory.
constexpr std::size_t USABLE_SIZE = 256 * 1024;
constexpr std::uint64_t OURS = 0x7A656C5374616B31;

// Stands at the lowest address of the stack, where the kernel's own record of it leads.
struct Header {
    std::uint64_t mark;
    stack_t before;
};

// Stacks that were given back. To map and unmap one costs more than the start of a thread does.
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
    for (std::atomic<void*>& place : s_free) {
        if (place.load(std::memory_order_relaxed) != nullptr) {
            if (void* const memory = place.exchange(nullptr)) {
                return memory;
            }
        }
    }
    return MapStack();
}

void GiveBack(void* memory) {
    for (std::atomic<void*>& place : s_free) {
        void* none = nullptr;
        if (place.compare_exchange_strong(none, memory)) {
            return;
        }
    }
    munmap(memory, GuardSize() + USABLE_SIZE);
}

bool IsOurs(const stack_t& stack) {
    return (stack.ss_flags & SS_DISABLE) == 0 && stack.ss_size == USABLE_SIZE &&
           static_cast<const Header*>(stack.ss_sp)->mark == OURS;
}

bool IsMainThread() {
    return syscall(SYS_gettid) == getpid();
}

}  // namespace

FaultStack::FaultStack() noexcept : m_memory(TakeStack()) {
    if (m_memory != nullptr) {
        auto* const header = new (HeaderIn(m_memory)) Header{OURS, {}};
        stack_t stack = {};
        stack.ss_sp = header;
        stack.ss_size = USABLE_SIZE;
        sigaltstack(&stack, &header->before);
    }
}

FaultStack::~FaultStack() {
    if (m_memory == nullptr) {
        return;
    }
    const Header* const header = HeaderIn(m_memory);
    stack_t current = {};
    // It refuses on the very stack, which stays then.
    if (sigaltstack(&header->before, &current) != 0) {
        return;
    }
    // Whoever has set another behind ours keeps it.
    if (current.ss_sp != header) {
        sigaltstack(&current, nullptr);
    }
    GiveBack(m_memory);
}

void KeepFaultStack() noexcept {
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
