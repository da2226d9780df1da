#include "zel/platform/FaultTrap.h"

#include "zel/platform/linux/FaultCodes.h"
#include "zel/platform/linux/GuardedWork.h"
#include "zel/platform/linux/MachineContext.h"
#include "zel/platform/linux/PreviousHandlers.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr int OWNER_TIMEOUT = 5000;  // milliseconds

// The thread that handles the one fault of the process.
constinit std::atomic<pid_t> s_owner{0};

// Set before the first fault.
constinit pid_t s_process = 0;
constinit FaultFilter s_filter = nullptr;

// The owner's fault on its way to the stack below, which serves a thread without a fault stack.
constinit FaultRecord* s_movingFault = nullptr;
alignas(16) constinit char s_stack[256 * 1024] = {};

pid_t ThisThread() noexcept {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

[[noreturn]] void EndBySignal(int signal) noexcept {
    struct sigaction defaultAction = {};
    defaultAction.sa_handler = SIG_DFL;
    sigaction(signal, &defaultAction, nullptr);
    sigset_t unblocked;
    sigemptyset(&unblocked);
    sigaddset(&unblocked, signal);
    sigprocmask(SIG_UNBLOCK, &unblocked, nullptr);
    syscall(SYS_tgkill, getpid(), ThisThread(), signal);
    // Signals don't end the first process of a container.
    constexpr int signalExitCode = 128;
    _exit(signalExitCode + signal);
}

[[noreturn]] void HandleOwnersSignal(int signal) noexcept {
    if (FaultRecord* const fault = s_movingFault) {
        s_movingFault = nullptr;
        s_filter(fault);
    }
    EndBySignal(signal);
}

// Sends the signal once more, so that its handler runs on the stack that is kept for this. Returns
// if the thread has a fault stack or the system refuses.
void MoveToStack(FaultRecord& fault, siginfo_t& info) noexcept {
    stack_t stack = {};
    if (sigaltstack(nullptr, &stack) != 0 || (stack.ss_flags & SS_DISABLE) == 0) {
        return;
    }
    stack = {};
    stack.ss_sp = s_stack;
    stack.ss_size = sizeof(s_stack);
    if (sigaltstack(&stack, nullptr) == 0) {
        s_movingFault = &fault;
        syscall(SYS_rt_tgsigqueueinfo, getpid(), ThisThread(), fault.flags, &info);
        s_movingFault = nullptr;
    }
}

void HandleFault(int signal, siginfo_t* info, void* context) noexcept {
    const int error = errno;
    AbandonGuardedWork();
    const pid_t self = ThisThread();
    if (s_owner.load() == self) {
        HandleOwnersSignal(signal);
    }
    auto& machine = *static_cast<ucontext_t*>(context);
    if (RecoversByPreviousHandler(signal, *info, machine) || IsIgnored(signal, *info)) {
        errno = error;
        return;
    }
    if (getpid() != s_process) {
        EndBySignal(signal);
    }
    pid_t none = 0;
    if (!s_owner.compare_exchange_strong(none, self)) {
        poll(nullptr, 0, OWNER_TIMEOUT);
        EndBySignal(signal);
    }
    FaultRecord fault = {
        CodeOfSignal(*info, machine), signal, error, static_cast<std::uint32_t>(self),
        GetInstruction(machine),      context};
    MoveToStack(fault, *info);
    s_filter(&fault);
}

}  // namespace

void CatchFaults(FaultFilter filter) noexcept {
    s_process = getpid();
    s_owner = 0;
    s_filter = filter;
    InstallHandler(HandleFault);
}

void HandleFault(ExceptionPointers& pointers, FaultHandler handler) noexcept {
    handler(pointers);
    EndByFault(pointers);
}

void EndByFault(const FaultRecord& fault) noexcept {
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
