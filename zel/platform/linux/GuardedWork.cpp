#include "zel/platform/linux/GuardedWork.h"

#include "zel/platform/FaultTrap.h"
#include "zel/platform/linux/ThreadTimer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csetjmp>
#include <csignal>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

using Clock = std::chrono::steady_clock;

// How often the time limit is checked, so that nested limits need no timers of their own.
constexpr long CHECK_INTERVAL = 50'000'000;  // nanoseconds

struct Guard {
    sigjmp_buf recoveryPoint;
    Clock::time_point deadline;
};

// The innermost guard, which is on the stack of the thread s_thread. Other threads that fail must
// not look into it.
constinit std::atomic<Guard*> s_guard{nullptr};
constinit std::atomic<long> s_thread{0};

constinit ThreadTimer s_timer;
constinit bool s_hasTimer = false;

// Returns the innermost guard if it is the calling thread's.
Guard* FindOwnGuard() noexcept {
    return s_thread == syscall(SYS_gettid) ? s_guard.load() : nullptr;
}

void HandleTimer(int) noexcept {
    Guard* const guard = FindOwnGuard();
    if (guard != nullptr && Clock::now() >= guard->deadline) {
        siglongjmp(guard->recoveryPoint, 1);
    }
}

void UnblockTimer() noexcept {
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
}

bool RunWithin(Clock::time_point deadline, void (*work)(void*), void* argument) noexcept {
    Guard* const outer = s_guard.load();
    Guard guard;
    guard.deadline = deadline;
    // The mask isn't saved, because that is a call of the system for each frame of a walk.
    if (sigsetjmp(guard.recoveryPoint, 0) != 0) {
        s_guard = outer;
        UnblockTimer();
        return false;
    }
    s_guard = &guard;
    work(argument);
    s_guard = outer;
    return true;
}

void StartTimer(void*) {
    struct sigaction action = {};
    action.sa_handler = HandleTimer;
    action.sa_flags = SA_ONSTACK | SA_NODEFER | SA_RESTART;
    sigaction(SIGALRM, &action, nullptr);
    UnblockTimer();
    s_hasTimer = s_timer.Create(SIGALRM);
    if (s_hasTimer) {
        s_timer.SetInterval(CHECK_INTERVAL);
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
    const Clock::time_point deadline = Clock::now() + limit;
    if (outer != nullptr) {
        return RunWithin(std::min(deadline, outer->deadline), work, argument);
    }
    s_thread = syscall(SYS_gettid);
    // A sandbox may answer the calls of a timer by a fault; the work then runs without a limit.
    if (!RunWithin(deadline, StartTimer, nullptr)) {
        s_hasTimer = false;
    }
    const bool isDone = RunWithin(deadline, work, argument);
    if (s_hasTimer) {
        s_timer.Delete();
    }
    return isDone;
}

}  // namespace zel::platform
