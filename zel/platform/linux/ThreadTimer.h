#pragma once

#include <csignal>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

/// A timer that signals one thread, so that no other thread can take the signal. It uses the
/// kernel's own calls, because those of the C library may allocate.
class ThreadTimer {
public:
    /// Creates the timer for the calling thread. Returns false, with the system's error number, on
    /// failure.
    bool Create(int signal) noexcept {
        struct sigevent event = {};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = signal;
        event._sigev_un._tid = static_cast<pid_t>(syscall(SYS_gettid));
        return syscall(SYS_timer_create, CLOCK_MONOTONIC, &event, &m_timer) == 0;
    }

    /// Signals the thread every `interval` nanoseconds, less than a second, from now on.
    void SetInterval(long interval) const noexcept {
        const struct {
            KernelTime interval;
            KernelTime value;
        } setting = {{0, interval}, {0, interval}};
        syscall(SYS_timer_settime, m_timer, 0, &setting, nullptr);
    }

    void Delete() const noexcept { syscall(SYS_timer_delete, m_timer); }

private:
    struct KernelTime {
        long seconds;
        long nanoseconds;
    };

    int m_timer = 0;
};

}  // namespace zel::platform
