#include "zel/platform/ThreadInfo.h"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

void SetCurrentThreadName(const std::string& name) noexcept {
    if (!name.empty()) {
        prctl(PR_SET_NAME, name.c_str(), 0, 0, 0);
    }
}

std::uint64_t CurrentThreadNumber() noexcept {
    return static_cast<std::uint64_t>(syscall(SYS_gettid));
}

double MakeCurrentThreadPunctual() noexcept {
    constexpr unsigned long shortestSlack = 1;  // nanoseconds; 0 would mean the default
    prctl(PR_SET_TIMERSLACK, shortestSlack, 0, 0, 0);
    return 150e-6;
}

std::uint64_t CurrentProcessNumber() noexcept {
    return static_cast<std::uint64_t>(getpid());
}

}  // namespace zel::platform
