#pragma once

#include <csignal>
#include <cstdint>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

/// A timer that signals one thread, so that no other thread can take the signal. It uses the
/// kernel's own calls, because those of the C library may allocate.
class ThreadTimer {
public:
    static constexpr std::int64_t NEVER = 0;

    /// Returns the time that Set takes, in nanoseconds.
    static std::int64_t Now() noexcept {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec * NANOSECONDS + now.tv_nsec;
    }

    /// Creates the timer for the calling thread. Returns false, with the system's error number, on
    /// failure.
    bool Create(int signal) noexcept {
        struct sigevent event = {};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = signal;
        event._sigev_un._tid = static_cast<pid_t>(syscall(SYS_gettid));
        return syscall(SYS_timer_create, CLOCK_MONOTONIC, &event, &m_timer) == 0;
    }

    /// Signals the thread at `time` and every tenth of a second from then on. NEVER stops the
    /// timer.
    void Set(std::int64_t time) const noexcept {
        constexpr long tenth = 100'000'000;
        const struct {
            KernelTime interval;
            KernelTime value;
        } setting = {
            {0, tenth},
            {static_cast<long>(time / NANOSECONDS), static_cast<long>(time % NANOSECONDS)}};
        syscall(SYS_timer_settime, m_timer, TIMER_ABSTIME, &setting, nullptr);
    }

    void Delete() const noexcept { syscall(SYS_timer_delete, m_timer); }

private:
    static constexpr std::int64_t NANOSECONDS = 1'000'000'000;

    struct KernelTime {
        long seconds;
        long nanoseconds;
    };

    int m_timer = 0;
};

}  // namespace zel::platform
