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
    const timespec limit{0, 1'000'000};
    const timespec* wait = s_barrierWorks.load(std::memory_order_relaxed) ? nullptr : &limit;
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, wait, nullptr, 0);
}

void UnparkOne(std::atomic<std::uint32_t>& word) noexcept {
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void ProcessWideBarrier() noexcept {
    const int savedError = errno;
    if (s_barrierWorks.load(std::memory_order_relaxed) && !IssueBarrier()) {
        s_barrierWorks.store(false, std::memory_order_relaxed);
    }
    errno = savedError;
}

}  // namespace zel::platform
