#pragma once

#include "tests/support/ChildProcess.h"

#include <fstream>
#include <unistd.h>

namespace zel::test {

// Returns an orphaned descendant of the process. Requires: the caller is a subreaper.
inline pid_t FindOrphan(const ChildProcess& parent) {
    const std::string self = std::to_string(::getpid());
    std::ifstream in("/proc/" + self + "/task/" + self + "/children");
    pid_t process = 0;
    while (in >> process && process == parent.GetId()) {
    }
    return process;
}

}  // namespace zel::test
