#include "zel/platform/linux/PreviousHandlers.h"

#include "zel/platform/linux/FaultCodes.h"
#include "zel/platform/linux/MachineContext.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr std::array FAULT_SIGNALS = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};

// Set before the first fault.
constinit SignalHandler s_handler = nullptr;
constinit std::array<struct sigaction, FAULT_SIGNALS.size()> s_previousActions = {};

// The fault that a previous handler has returned from last, as a hash of its circumstances.
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

// Two faults with equal values are one that has come back: no instruction was executed in between.
std::uint64_t HashFault(const siginfo_t& info, const ucontext_t& context) noexcept {
    const auto thread = static_cast<std::uint64_t>(syscall(SYS_gettid));
    const auto address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    return HashRegisters(context, (thread << 32U) ^ address);
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
    const std::uint64_t fault = HashFault(info, context);
    const bool isRepeated = IsRepeated(signal, info);
    if (!HasHandler(previous) || (isRepeated && s_lastFault.exchange(fault) == fault)) {
        return false;
    }
    const struct sigaction action = previous;
    if ((action.sa_flags & static_cast<int>(SA_RESETHAND)) != 0) {
        previous.sa_handler = SIG_DFL;
    }
    const sigset_t mask = MaskFor(action, signal, context);
    sigset_t own;
    sigprocmask(SIG_SETMASK, &mask, &own);
    Call(action, signal, info, context);
    const bool isFatal = TakeGivenUp(signal) || IsAbort(signal, info);
    sigprocmask(SIG_SETMASK, &own, nullptr);
    return !isFatal;
}

bool IsIgnored(int signal, const siginfo_t& info) noexcept {
    return info.si_code <= 0 && FindPreviousAction(signal).sa_handler == SIG_IGN &&
           !IsAbort(signal, info);
}

}  // namespace zel::platform
