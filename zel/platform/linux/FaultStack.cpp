#include "zel/platform/FaultStack.h"

#include "zel/platform/linux/FaultStackBounds.h"

#include <csignal>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

// The kernel's frame takes up to 12 KiB, the walk with its look-ups and a readable name of the
// longest kind the rest. What isn't touched costs no memory.
constexpr std::size_t usableSize = 256 * 1024;
constexpr std::uint64_t ours = 0x7A656C5374616B31;

// Stands at the lowest address of the stack, where the kernel's own record of it leads.
struct Header {
    std::uint64_t mark;
    std::uintptr_t endOfThreadStack;
    stack_t before;
};

std::size_t GuardSize() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::uintptr_t EndOfThreadStack() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) {
        return 0;
    }
    void* end = nullptr;
    std::size_t size = 0;
    const bool isKnown = pthread_attr_getstack(&attributes, &end, &size) == 0;
    pthread_attr_destroy(&attributes);
    return isKnown ? reinterpret_cast<std::uintptr_t>(end) : 0;
}

const Header* HeaderOf(const stack_t& stack) {
    if ((stack.ss_flags & SS_DISABLE) != 0 || stack.ss_size != usableSize) {
        return nullptr;
    }
    const auto* const header = static_cast<const Header*>(stack.ss_sp);
    return header->mark == ours ? header : nullptr;
}

void* MapStack() {
    const std::size_t guard = GuardSize();
    void* const memory = mmap(nullptr, guard + usableSize, PROT_NONE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    if (mprotect(static_cast<char*>(memory) + guard, usableSize, PROT_READ | PROT_WRITE) != 0) {
        munmap(memory, guard + usableSize);
        return nullptr;
    }
    return memory;
}

bool IsMainThread() {
    return syscall(SYS_gettid) == getpid();
}

}  // namespace

FaultStack::FaultStack() noexcept : m_memory(MapStack()) {
    if (m_memory == nullptr) {
        return;
    }
    auto* const header =
        new (static_cast<char*>(m_memory) + GuardSize()) Header{ours, EndOfThreadStack(), {}};
    stack_t stack = {};
    stack.ss_sp = header;
    stack.ss_size = usableSize;
    sigaltstack(&stack, &header->before);
}

FaultStack::~FaultStack() {
    if (m_memory == nullptr) {
        return;
    }
    auto* const header = reinterpret_cast<Header*>(static_cast<char*>(m_memory) + GuardSize());
    stack_t current = {};
    sigaltstack(nullptr, &current);
    // Whoever has set a stack behind ours keeps it.
    if (current.ss_sp == header && sigaltstack(&header->before, nullptr) != 0) {
        return;
    }
    munmap(m_memory, GuardSize() + usableSize);
}

void KeepFaultStack() noexcept {
    stack_t current = {};
    if (sigaltstack(nullptr, &current) == 0 && HeaderOf(current) != nullptr) {
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

std::uintptr_t EndOfFaultingStack(const ucontext_t& context) noexcept {
    const Header* const header = HeaderOf(context.uc_stack);
    return header == nullptr ? 0 : header->endOfThreadStack;
}

}  // namespace zel::platform
