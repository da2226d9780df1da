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
constexpr int PATIENCE = 5000;

// Who handles the one fault of the process, from then to its end.
constinit std::atomic<pid_t> s_owner{0};

// Set ahead of the first fault.
constinit pid_t s_process = 0;
constinit FaultHandler s_handler = nullptr;
constinit std::array<struct sigaction, FAULT_SIGNALS.size()> s_before = {};

// The owner's alone.
constinit volatile std::sig_atomic_t s_isGuarded = 0;
sigjmp_buf s_wayOut;
siginfo_t* s_info = nullptr;

pid_t ThisThread() noexcept {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

const struct sigaction* HandlerBefore(int signal) noexcept {
    for (std::size_t i = 0; i < FAULT_SIGNALS.size(); ++i) {
        if (FAULT_SIGNALS[i] == signal) {
            return &s_before[i];
        }
    }
    return nullptr;
}

// A signal that somebody sent, in a program that doesn't want to know of such.
bool IsUnwanted(int signal, const siginfo_t& info) noexcept {
    return info.si_code <= 0 && HandlerBefore(signal)->sa_handler == SIG_IGN;
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
    // The first process of a system isn't ended by a signal.
    constexpr int shellsWord = 128;
    _exit(shellsWord + signal);
}

void LeaveGuardedWork() noexcept {
    if (s_isGuarded != 0) {
        s_isGuarded = 0;
        siglongjmp(s_wayOut, 1);
    }
}

void OnFault(int signal, siginfo_t* info, void* context) noexcept {
    const int error = errno;
    if (getpid() != s_process) {
        EndBySignal(signal);
    }
    if (IsUnwanted(signal, *info)) {
        return;
    }
    const pid_t self = ThisThread();
    pid_t owner = 0;
    if (!s_owner.compare_exchange_strong(owner, self)) {
        if (owner == self) {
            LeaveGuardedWork();
        } else {
            poll(nullptr, 0, PATIENCE);
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

// The timer's signal comes to any thread of the process.
void OnTimeOut(int signal) noexcept {
    const pid_t owner = s_owner.load();
    if (ThisThread() == owner) {
        LeaveGuardedWork();
    } else {
        syscall(SYS_tgkill, getpid(), owner, signal);
    }
}

void SetTimer(int milliseconds) noexcept {
    constexpr int thousand = 1000;
    itimerval timer = {};
    timer.it_value.tv_sec = milliseconds / thousand;
    timer.it_value.tv_usec = milliseconds % thousand * thousand;
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void LimitTime(int milliseconds) noexcept {
    struct sigaction action = {};
    action.sa_handler = OnTimeOut;
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
    action.sa_sigaction = OnFault;
    // A fault in the handler of a fault has to come through as well.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigfillset(&action.sa_mask);
    for (const int signal : FAULT_SIGNALS) {
        sigdelset(&action.sa_mask, signal);
    }
    for (std::size_t i = 0; i < FAULT_SIGNALS.size(); ++i) {
        sigaction(FAULT_SIGNALS[i], nullptr, &s_before[i]);
        sigaction(FAULT_SIGNALS[i], &action, nullptr);
    }
}

bool DoGuarded(void (*work)(void*), void* argument, int milliseconds) noexcept {
    // It may be no fault that has led here, but a call.
    pid_t nobody = 0;
    s_owner.compare_exchange_strong(nobody, ThisThread());
    if (sigsetjmp(s_wayOut, 1) != 0) {
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
    const struct sigaction* const before = HandlerBefore(fault.flags);
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
