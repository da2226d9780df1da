#include "zel/platform/linux/GuardedWork.h"

#include "zel/platform/FaultTrap.h"
#include "zel/platform/linux/ThreadTimer.h"

#include <algorithm>
#include <atomic>
#include <csetjmp>
#include <csignal>
#include <limits>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr std::int64_t NO_DEADLINE = std::numeric_limits<std::int64_t>::max();

struct Guard {
    sigjmp_buf recoveryPoint;
    std::int64_t deadline;
    long thread;
};

// The innermost guard.
constinit std::atomic<Guard*> s_guard{nullptr};

constinit ThreadTimer s_timer;
constinit bool s_hasTimer = false;

// Returns the innermost guard if it is the calling thread's.
Guard* FindOwnGuard() noexcept {
    Guard* const guard = s_guard.load();
    return guard != nullptr && guard->thread == syscall(SYS_gettid) ? guard : nullptr;
}

void HandleTimeout(int) noexcept {
    Guard* const guard = FindOwnGuard();
    if (guard != nullptr && ThreadTimer::Now() >= guard->deadline) {
        siglongjmp(guard->recoveryPoint, 1);
    }
}

bool RunWithin(std::int64_t deadline, void (*work)(void*), void* argument) noexcept {
    Guard* const outer = s_guard.load();
    Guard guard;
    guard.deadline = deadline;
    guard.thread = syscall(SYS_gettid);
    if (sigsetjmp(guard.recoveryPoint, 1) != 0) {
        s_guard = outer;
        return false;
    }
    s_guard = &guard;
    work(argument);
    s_guard = outer;
    return true;
}

void CreateTimer(void*) {
    struct sigaction action = {};
    action.sa_handler = HandleTimeout;
    action.sa_flags = SA_ONSTACK | SA_NODEFER;
    sigaction(SIGALRM, &action, nullptr);
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
    s_hasTimer = s_timer.Create(SIGALRM);
}

void SetTimer(std::int64_t deadline) noexcept {
    if (s_hasTimer) {
        s_timer.Set(deadline == NO_DEADLINE ? ThreadTimer::NEVER : deadline);
    }
}

}  // namespace

void AbandonGuardedWork() noexcept {
    if (Guard* const guard = FindOwnGuard()) {
        siglongjmp(guard->recoveryPoint, 1);
    }
}

bool DoGuarded(void (*work)(void*), void* argument, std::chrono::milliseconds limit) noexcept {
    const Guard* const outer = s_guard.load();
    const std::int64_t outerDeadline = outer == nullptr ? NO_DEADLINE : outer->deadline;
    // A sandbox may answer the calls of a timer by a fault; the work then runs without a limit.
    if (outer == nullptr && !RunWithin(NO_DEADLINE, CreateTimer, nullptr)) {
        s_hasTimer = false;
    }
    const std::int64_t deadline =
        std::min(outerDeadline, ThreadTimer::Now() + std::chrono::nanoseconds(limit).count());
    SetTimer(deadline);
    const bool isDone = RunWithin(deadline, work, argument);
    SetTimer(outerDeadline);
    return isDone;
}

}  // namespace zel::platform
