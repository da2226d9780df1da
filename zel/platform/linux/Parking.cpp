#include "zel/platform/Parking.h"

#include <cerrno>
#include <ctime>
#include <linux/futex.h>
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

// Cleared for good once the kernel has refused the barrier: sleepers then look for themselves.
std::atomic<bool> s_barrierWorks{true};

long Membarrier(int command) noexcept {
    return syscall(SYS_membarrier, command, 0, 0);
}

// Locks are taken between a failed call and the look at its error, so they leave that alone.
class ErrorKeeper {
public:
    ErrorKeeper() noexcept : m_error(errno) {}
    ~ErrorKeeper() { errno = m_error; }
    ErrorKeeper(const ErrorKeeper&) = delete;
    ErrorKeeper& operator=(const ErrorKeeper&) = delete;

private:
    const int m_error;
};

bool IssueBarrier() noexcept {
    if (Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED) == 0) {
        return true;
    }
    // A process registers once; the first caller does it here.
    return errno == EPERM && Membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) == 0 &&
           Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED) == 0;
}

}  // namespace

void Park(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept {
    const ErrorKeeper keeper;
    const timespec limit{0, 1'000'000};
    const timespec* wait = s_barrierWorks.load(std::memory_order_relaxed) ? nullptr : &limit;
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, wait, nullptr, 0);
}

void UnparkOne(std::atomic<std::uint32_t>& word) noexcept {
    const ErrorKeeper keeper;
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void ProcessWideBarrier() noexcept {
    const ErrorKeeper keeper;
    if (s_barrierWorks.load(std::memory_order_relaxed) && !IssueBarrier()) {
        s_barrierWorks.store(false, std::memory_order_relaxed);
    }
}

}  // namespace zel::platform
