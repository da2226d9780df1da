#include "zel/platform/Parking.h"

#include <cerrno>
#include <ctime>
#include <linux/futex.h>
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

// Cleared for good after the kernel has refused the barrier; blocked threads then poll.
std::atomic<bool> s_barrierWorks{true};

long Membarrier(int command) noexcept {
    return syscall(SYS_membarrier, command, 0, 0);
}

// A lock may be taken between a failed call and the check of its error number.
class SavedError {
public:
    SavedError() noexcept : m_error(errno) {}
    ~SavedError() { errno = m_error; }
    SavedError(const SavedError&) = delete;
    SavedError& operator=(const SavedError&) = delete;

private:
    const int m_error;
};

bool IssueBarrier() noexcept {
    if (Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED) == 0) {
        return true;
    }
    // A process must register before its first barrier.
    return errno == EPERM && Membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) == 0 &&
           Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED) == 0;
}

}  // namespace

void Park(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept {
    const SavedError saved;
    const timespec limit{0, 1'000'000};
    const timespec* wait = s_barrierWorks.load(std::memory_order_relaxed) ? nullptr : &limit;
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, wait, nullptr, 0);
}

void UnparkOne(std::atomic<std::uint32_t>& word) noexcept {
    const SavedError saved;
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void ProcessWideBarrier() noexcept {
    const SavedError saved;
    if (s_barrierWorks.load(std::memory_order_relaxed) && !IssueBarrier()) {
        s_barrierWorks.store(false, std::memory_order_relaxed);
    }
}

}  // namespace zel::platform
