#include "zel/platform/linux/FaultCodes.h"

#include "zel/platform/linux/MachineContext.h"

#include <cerrno>
#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

namespace zel::platform {

namespace {

constexpr std::uint32_t DATATYPE_MISALIGNMENT = 0x80000002;
constexpr std::uint32_t BREAKPOINT = 0x80000003;
constexpr std::uint32_t SINGLE_STEP = 0x80000004;
constexpr std::uint32_t ACCESS_VIOLATION = 0xC0000005;
constexpr std::uint32_t IN_PAGE_ERROR = 0xC0000006;
constexpr std::uint32_t ILLEGAL_INSTRUCTION = 0xC000001D;
constexpr std::uint32_t NONCONTINUABLE = 0xC0000025;
constexpr std::uint32_t PRIVILEGED_INSTRUCTION = 0xC0000096;
constexpr std::uint32_t STACK_OVERFLOW = 0xC00000FD;

// The farthest accesses below the stack pointer, and above it, within a large frame.
constexpr std::uintptr_t LARGEST_OFFSET = 64 * 1024;
constexpr std::uintptr_t LARGEST_FRAME = 16 * 1024 * 1024;

// The kernel reads the address, then refuses the call.
bool IsReadable(std::uintptr_t address) {
    constexpr int noSuchChange = -1;
    constexpr std::size_t size = 8;
    return syscall(SYS_rt_sigprocmask, noSuchChange, address, nullptr, size) == 0 ||
           errno != EFAULT;
}

// True if there is no memory at the stack pointer, or the access was just below it.
bool IsAtStackEnd(const siginfo_t& signal, const ucontext_t& context) {
    if (signal.si_code != SEGV_MAPERR && signal.si_code != SEGV_ACCERR) {
        return false;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(signal.si_addr);
    const std::uintptr_t position = GetStackPosition(context);
    if (position < LARGEST_OFFSET || address < position - LARGEST_OFFSET) {
        return false;
    }
    return address < position ||
           (address < position + LARGEST_FRAME && !IsReadable(position & ~(sizeof(position) - 1)));
}

std::uint32_t CodeOfArithmetic(int kind) {
    constexpr struct {
        int kind;
        std::uint32_t code;
    } codes[] = {
        {FPE_INTDIV, 0xC0000094}, {FPE_INTOVF, 0xC0000095}, {FPE_FLTDIV, 0xC000008E},
        {FPE_FLTOVF, 0xC0000091}, {FPE_FLTUND, 0xC0000093}, {FPE_FLTRES, 0xC000008F},
        {FPE_FLTINV, 0xC0000090}, {FPE_FLTSUB, 0xC000008C},
    };
    for (const auto& entry : codes) {
        if (entry.kind == kind) {
            return entry.code;
        }
    }
    return 0;
}

// The frames between a handler and abort.
struct AbortSearch {
    int remainingFrames = 16;
    bool isFound = false;
};

_Unwind_Reason_Code FindAbort(_Unwind_Context* context, void* argument) {
    auto& search = *static_cast<AbortSearch*>(argument);
    void* const caller = reinterpret_cast<void*>(_Unwind_GetIP(context));
    search.isFound = _Unwind_FindEnclosingFunction(caller) == reinterpret_cast<void*>(std::abort);
    return search.isFound || --search.remainingFrames == 0 ? _URC_END_OF_STACK : _URC_NO_REASON;
}

}  // namespace

std::uint32_t CodeOfSignal(const siginfo_t& signal, const ucontext_t& context) noexcept {
    const int kind = signal.si_code;
    switch (signal.si_signo) {
        case SIGSEGV:
            return IsAtStackEnd(signal, context) ? STACK_OVERFLOW : ACCESS_VIOLATION;
        case SIGBUS:
            return kind == BUS_ADRALN ? DATATYPE_MISALIGNMENT : IN_PAGE_ERROR;
        case SIGFPE:
            return CodeOfArithmetic(kind);
        case SIGILL:
            return kind == ILL_PRVOPC || kind == ILL_PRVREG ? PRIVILEGED_INSTRUCTION
                                                            : ILLEGAL_INSTRUCTION;
        case SIGTRAP:
            return kind == TRAP_TRACE ? SINGLE_STEP : BREAKPOINT;
        case SIGABRT:
            return NONCONTINUABLE;
        default:
            return 0;
    }
}

bool IsAbort(int signal, const siginfo_t& info) noexcept {
    if (signal != SIGABRT || info.si_code != SI_TKILL || info.si_pid != getpid()) {
        return false;
    }
    AbortSearch search;
    _Unwind_Backtrace(FindAbort, &search);
    return search.isFound;
}

}  // namespace zel::platform
