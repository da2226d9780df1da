#include "zel/platform/linux/PreviousHandlers.h"

#include "zel/platform/linux/FaultCodes.h"
#include "zel/platform/linux/MachineContext.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr std::array FAULT_SIGNALS = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};

// Set before the first fault.
constinit SignalHandler s_handler = nullptr;
constinit std::array<struct sigaction, FAULT_SIGNALS.size()> s_previousActions = {};

// The fault that a previous handler has returned from last, as a hash of its circumstances, where
// the kernel can't be asked whether the handler has repaired anything.
constinit std::atomic<std::uint64_t> s_lastFault{0};

struct sigaction& FindPreviousAction(int signal) noexcept {
    std::size_t i = 0;
    while (FAULT_SIGNALS[i] != signal) {
        ++i;
    }
    return s_previousActions[i];
}

bool HasHandler(const struct sigaction& action) noexcept {
    return action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN;
}

bool IsCaughtBy(const struct sigaction& action, SignalHandler handler) noexcept {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == handler;
}

void Install(int signal) noexcept {
    struct sigaction action = {};
    action.sa_sigaction = s_handler;
    // A fault in the handler of a fault must be delivered too.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigfillset(&action.sa_mask);
    for (const int fault : FAULT_SIGNALS) {
        sigdelset(&action.sa_mask, fault);
    }
    sigaction(signal, &action, nullptr);
}

// An instruction that faults is repeated after its handler has returned; a trap or a signal that
// was sent is over then.
bool IsRepeated(int signal, const siginfo_t& info) noexcept {
    return info.si_code > 0 &&
           (signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL);
}

// Equal values mean that no instruction was executed in between.
std::uint64_t HashFault(const siginfo_t& info, const ucontext_t& context) noexcept {
    const auto thread = static_cast<std::uint64_t>(syscall(SYS_gettid));
    const auto address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    return HashRegisters(context, (thread << 32U) ^ address);
}

// Asks the kernel to make the memory at an address present, which changes none of it. Returns its
// error number.
int Populate(const void* address, int advice) noexcept {
    const std::uintptr_t page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(address) & ~(page - 1);
    return madvise(reinterpret_cast<void*>(start), page, advice) == 0 ? 0 : errno;
}

// Whether the instruction of a fault would fail again; `before` is the fault's hash before the
// handler ran.
bool WouldComeBack(const siginfo_t& info, const ucontext_t& context,
                   std::uint64_t before) noexcept {
    if (HashFault(info, context) != before) {
        return false;
    }
    const int advice = GetPopulateAdvice(context);
    const bool isMemory = info.si_signo == SIGSEGV || info.si_signo == SIGBUS;
    if (isMemory && advice != 0 && Populate(&info, MADV_POPULATE_READ) == 0) {
        return Populate(info.si_addr, advice) != 0;
    }
    return s_lastFault.exchange(before) == before;
}

void Call(const struct sigaction& action, int signal, siginfo_t& info,
          ucontext_t& context) noexcept {
    if ((action.sa_flags & SA_SIGINFO) != 0) {
        action.sa_sigaction(signal, &info, &context);
    } else {
        action.sa_handler(signal);
    }
}

// The mask that the kernel would have set for the previous handler, which may leave without
// restoring it.
sigset_t MaskFor(const struct sigaction& action, int signal, const ucontext_t& context) noexcept {
    sigset_t mask;
    sigorset(&mask, &context.uc_sigmask, &action.sa_mask);
    if ((action.sa_flags & SA_NODEFER) == 0) {
        sigaddset(&mask, signal);
    }
    return mask;
}

// A handler that gives up resets the signal's action, raises the signal again, which is pending
// then, or does both. Clears the signal and catches it again.
bool TakeGivenUp(int signal) noexcept {
    struct sigaction current = {};
    sigaction(signal, nullptr, &current);
    sigset_t raised;
    sigemptyset(&raised);
    sigaddset(&raised, signal);
    const timespec now = {};
    const bool isRaised = sigtimedwait(&raised, nullptr, &now) == signal;
    if (current.sa_handler != SIG_DFL) {
        return isRaised;
    }
    Install(signal);
    return true;
}

}  // namespace

void InstallHandler(SignalHandler handler) noexcept {
    s_handler = handler;
    for (std::size_t i = 0; i < FAULT_SIGNALS.size(); ++i) {
        struct sigaction current = {};
        sigaction(FAULT_SIGNALS[i], nullptr, &current);
        if (!IsCaughtBy(current, handler)) {
            s_previousActions[i] = current;
        }
        Install(FAULT_SIGNALS[i]);
    }
}

bool RecoversByPreviousHandler(int signal, siginfo_t& info, ucontext_t& context) noexcept {
    struct sigaction& previous = FindPreviousAction(signal);
    if (!HasHandler(previous)) {
        return false;
    }
    const struct sigaction action = previous;
    if ((action.sa_flags & static_cast<int>(SA_RESETHAND)) != 0) {
        previous.sa_handler = SIG_DFL;
    }
    const std::uint64_t fault = HashFault(info, context);
    const sigset_t mask = MaskFor(action, signal, context);
    sigset_t own;
    sigprocmask(SIG_SETMASK, &mask, &own);
    Call(action, signal, info, context);
    const bool isFatal =
        TakeGivenUp(signal) ||
        (IsRepeated(signal, info) ? WouldComeBack(info, context, fault) : IsAbort(signal, info));
    sigprocmask(SIG_SETMASK, &own, nullptr);
    return !isFatal;
}

bool IsIgnored(int signal, const siginfo_t& info) noexcept {
    return info.si_code <= 0 && FindPreviousAction(signal).sa_handler == SIG_IGN &&
           !IsAbort(signal, info);
}

}  // namespace zel::platform
