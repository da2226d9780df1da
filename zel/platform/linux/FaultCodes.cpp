#include "zel/platform/linux/FaultCodes.h"

#include "zel/platform/linux/FaultStackBounds.h"
#include "zel/platform/linux/MachineContext.h"

namespace zel::platform {

namespace {

constexpr std::uint32_t datatypeMisalignment = 0x80000002;
constexpr std::uint32_t breakpoint = 0x80000003;
constexpr std::uint32_t singleStep = 0x80000004;
constexpr std::uint32_t accessViolation = 0xC0000005;
constexpr std::uint32_t inPageError = 0xC0000006;
constexpr std::uint32_t illegalInstruction = 0xC000001D;
constexpr std::uint32_t noncontinuable = 0xC0000025;
constexpr std::uint32_t privilegedInstruction = 0xC0000096;
constexpr std::uint32_t stackOverflow = 0xC00000FD;

// How far from its position a thread touches its stack.
constexpr std::uintptr_t reach = 64 * 1024;
// A position that lies further behind the end than any frame is large was not one.
constexpr std::uintptr_t largestFrame = 16 * 1024 * 1024;
constexpr std::uintptr_t page = 4096;

bool IsAtStackEnd(const siginfo_t& signal, const ucontext_t& context) {
    if (signal.si_code != SEGV_MAPERR && signal.si_code != SEGV_ACCERR) {
        return false;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(signal.si_addr);
    const std::uintptr_t position = GetStackPosition(context);
    const std::uintptr_t known = EndOfFaultingStack(context);
    const std::uintptr_t end = known == 0 ? position : known;
    const bool isBehindEnd = position < end && end - position < largestFrame;
    const std::uintptr_t lowest = isBehindEnd ? position : end;
    return lowest > reach && address >= lowest - reach && address < end + page;
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

}  // namespace

std::uint32_t CodeOfSignal(const siginfo_t& signal, const ucontext_t& context) noexcept {
    const int kind = signal.si_code;
    switch (signal.si_signo) {
        case SIGSEGV:
            return IsAtStackEnd(signal, context) ? stackOverflow : accessViolation;
        case SIGBUS:
            return kind == BUS_ADRALN ? datatypeMisalignment : inPageError;
        case SIGFPE:
            return CodeOfArithmetic(kind);
        case SIGILL:
            return kind == ILL_PRVOPC || kind == ILL_PRVREG ? privilegedInstruction
                                                            : illegalInstruction;
        case SIGTRAP:
            return kind == TRAP_TRACE ? singleStep : breakpoint;
        case SIGABRT:
            return noncontinuable;
        default:
            return 0;
    }
}

}  // namespace zel::platform
