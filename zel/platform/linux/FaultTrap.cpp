#include "zel/platform/FaultTrap.h"

#include "zel/platform/linux/FaultCodes.h"
#include "zel/platform/linux/MachineContext.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr std::array FAULT_SIGNALS = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};
constexpr int OWNER_TIMEOUT = 5000;

// The thread that handles the one fault of the process.
constinit std::atomic<pid_t> s_owner{0};

// Set before the first fault.
constinit pid_t s_process = 0;
constinit FaultHandler s_handler = nullptr;
constinit std::array<struct sigaction, FAULT_SIGNALS.size()> s_previousActions = {};

// Used by the owner only.
constinit volatile std::sig_atomic_t s_isGuarded = 0;
sigjmp_buf s_recoveryPoint;
siginfo_t* s_info = nullptr;

pid_t ThisThread() noexcept {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

const struct sigaction* FindPreviousAction(int signal) noexcept {
    for (std::size_t i = 0; i < FAULT_SIGNALS.size(); ++i) {
        if (FAULT_SIGNALS[i] == signal) {
            return &s_previousActions[i];
        }
    }
    return nullptr;
}

// True for a signal that was sent, in a program that ignores such signals.
bool IsIgnored(int signal, const siginfo_t& info) noexcept {
    return info.si_code <= 0 && FindPreviousAction(signal)->sa_handler == SIG_IGN;
}

[[noreturn]] void EndBySignal(int signal) noexcept {
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(signal, &byDefault, nullptr);
    sigset_t open;
    sigemptyset(&open);
    sigaddset(&open, signal);
    sigprocmask(SIG_UNBLOCK, &open, nullptr);
    syscall(SYS_tgkill, getpid(), ThisThread(), signal);
    // Signals don't end the first process of a container.
    constexpr int signalExitCode = 128;
    _exit(signalExitCode + signal);
}

void LeaveGuardedWork() noexcept {
    if (s_isGuarded != 0) {
        s_isGuarded = 0;
        siglongjmp(s_recoveryPoint, 1);
    }
}

void HandleFault(int signal, siginfo_t* info, void* context) noexcept {
    const int error = errno;
    if (getpid() != s_process) {
        EndBySignal(signal);
    }
    if (IsIgnored(signal, *info)) {
        return;
    }
    const pid_t self = ThisThread();
    pid_t owner = 0;
    if (!s_owner.compare_exchange_strong(owner, self)) {
        if (owner == self) {
            LeaveGuardedWork();
        } else {
            poll(nullptr, 0, OWNER_TIMEOUT);
        }
        EndBySignal(signal);
    }
    s_info = info;
    const auto& machine = *static_cast<const ucontext_t*>(context);
    FaultRecord fault = {
        CodeOfSignal(*info, machine), signal, error, static_cast<std::uint32_t>(self),
        GetInstruction(machine),      context};
    s_handler(fault);
    EndByFault(fault);
}

// Any thread of the process can get the timer's signal.
void HandleTimeout(int signal) noexcept {
    const pid_t owner = s_owner.load();
    if (ThisThread() == owner) {
        LeaveGuardedWork();
    } else {
        syscall(SYS_tgkill, getpid(), owner, signal);
    }
}

void SetTimer(int milliseconds) noexcept {
    constexpr int millisecondsPerSecond = 1000;
    itimerval timer = {};
    timer.it_value.tv_sec = milliseconds / millisecondsPerSecond;
    timer.it_value.tv_usec = milliseconds % millisecondsPerSecond * millisecondsPerSecond;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void LimitTime(int milliseconds) noexcept {
    struct sigaction action = {};
    action.sa_handler = HandleTimeout;
    action.sa_flags = SA_ONSTACK | SA_NODEFER;
    sigaction(SIGALRM, &action, nullptr);
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
    SetTimer(milliseconds);
}

}  // namespace

void CatchFaults(FaultHandler handler) noexcept {
    s_process = getpid();
    s_handler = handler;
    struct sigaction action = {};
    action.sa_sigaction = HandleFault;
    // A fault in the handler of a fault must be delivered too.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigfillset(&action.sa_mask);
    for (const int signal : FAULT_SIGNALS) {
        sigdelset(&action.sa_mask, signal);
    }
    for (std::size_t i = 0; i < FAULT_SIGNALS.size(); ++i) {
        sigaction(FAULT_SIGNALS[i], nullptr, &s_previousActions[i]);
        sigaction(FAULT_SIGNALS[i], &action, nullptr);
    }
}

bool DoGuarded(void (*work)(void*), void* argument, int milliseconds) noexcept {
    // The caller may have been called directly, without a fault.
    pid_t none = 0;
    s_owner.compare_exchange_strong(none, ThisThread());
    if (sigsetjmp(s_recoveryPoint, 1) != 0) {
        SetTimer(0);
        return false;
    }
    s_isGuarded = 1;
    LimitTime(milliseconds);
    work(argument);
    s_isGuarded = 0;
    SetTimer(0);
    return true;
}

void EndByFault(const FaultRecord& fault) noexcept {
    const struct sigaction* const before = FindPreviousAction(fault.flags);
    if (before != nullptr && s_info != nullptr && before->sa_handler != SIG_DFL &&
        before->sa_handler != SIG_IGN) {
        if ((before->sa_flags & SA_SIGINFO) != 0) {
            before->sa_sigaction(fault.flags, s_info, fault.context);
        } else {
            before->sa_handler(fault.flags);
        }
    }
    EndBySignal(fault.flags);
}

void WriteToStandardError(const char* text) noexcept {
    std::size_t length = std::strlen(text);
    while (length > 0) {
        const ssize_t written = write(STDERR_FILENO, text, length);
        if (written <= 0) {
            return;
        }
        text += written;
        length -= static_cast<std::size_t>(written);
    }
}

}  // namespace zel::platform
