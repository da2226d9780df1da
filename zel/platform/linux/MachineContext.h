#pragma once

#include <cstdint>
#include <sys/mman.h>
#include <ucontext.h>

namespace zel::platform {

// The registers of a machine context that a walk needs, by processor. The return address is valid
// while no instruction of the called function has been executed.

#if defined(__x86_64__) || defined(__i386__)

#if defined(__x86_64__)
constexpr int INSTRUCTION_REGISTER = REG_RIP;
constexpr int STACK_REGISTER = REG_RSP;
#else
constexpr int INSTRUCTION_REGISTER = REG_EIP;
constexpr int STACK_REGISTER = REG_ESP;
#endif

inline std::uintptr_t GetInstruction(const ucontext_t& context) noexcept {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[INSTRUCTION_REGISTER]);
}

inline std::uintptr_t GetStackPosition(const ucontext_t& context) noexcept {
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[STACK_REGISTER]);
}

inline std::uintptr_t GetReturnAddress(const ucontext_t& context) noexcept {
    return *reinterpret_cast<const std::uintptr_t*>(GetStackPosition(context));
}

inline void ReturnToCaller(ucontext_t& context) noexcept {
    auto& registers = context.uc_mcontext.gregs;
    registers[INSTRUCTION_REGISTER] = static_cast<greg_t>(GetReturnAddress(context));
    registers[STACK_REGISTER] += static_cast<greg_t>(sizeof(std::uintptr_t));
}

inline const auto& GetRegisters(const ucontext_t& context) noexcept {
    return context.uc_mcontext.gregs;
}

#elif defined(__aarch64__)

inline std::uintptr_t GetInstruction(const ucontext_t& context) noexcept {
    return context.uc_mcontext.pc;
}

inline std::uintptr_t GetStackPosition(const ucontext_t& context) noexcept {
    return context.uc_mcontext.sp;
}

inline std::uintptr_t GetReturnAddress(const ucontext_t& context) noexcept {
    return context.uc_mcontext.regs[30];
}

inline void ReturnToCaller(ucontext_t& context) noexcept {
    context.uc_mcontext.pc = GetReturnAddress(context);
}

inline const auto& GetRegisters(const ucontext_t& context) noexcept {
    return context.uc_mcontext.regs;
}

#elif defined(__s390x__)

inline std::uintptr_t GetInstruction(const ucontext_t& context) noexcept {
    return context.uc_mcontext.psw.addr;
}

inline std::uintptr_t GetStackPosition(const ucontext_t& context) noexcept {
    return context.uc_mcontext.gregs[15];
}

inline std::uintptr_t GetReturnAddress(const ucontext_t& context) noexcept {
    return context.uc_mcontext.gregs[14];
}

inline void ReturnToCaller(ucontext_t& context) noexcept {
    context.uc_mcontext.psw.addr = GetReturnAddress(context);
}

inline const auto& GetRegisters(const ucontext_t& context) noexcept {
    return context.uc_mcontext.gregs;
}

#else
#error "Add this processor's program counter, stack pointer and return address."
#endif

// Returns the MADV_POPULATE_ advice that makes memory accessible as the faulting instruction needs
// it, 0 if that is unknown.
inline int GetPopulateAdvice([[maybe_unused]] const ucontext_t& context) noexcept {
#if defined(__x86_64__) || defined(__i386__)
    constexpr greg_t write = 2;
    constexpr greg_t fetch = 16;
    const greg_t error = context.uc_mcontext.gregs[REG_ERR];
    if ((error & fetch) == 0) {
        return (error & write) != 0 ? MADV_POPULATE_WRITE : MADV_POPULATE_READ;
    }
#endif
    return 0;
}

// Returns a hash of the registers, by the FNV-1a method.
inline std::uint64_t HashRegisters(const ucontext_t& context, std::uint64_t seed) noexcept {
    constexpr std::uint64_t prime = 0x100000001B3;
    std::uint64_t hash = seed ^ GetInstruction(context);
    for (const auto value : GetRegisters(context)) {
        hash = (hash ^ static_cast<std::uint64_t>(value)) * prime;
    }
    return hash;
}

}  // namespace zel::platform
