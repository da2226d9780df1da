#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace zel::test {

// Calls `work` in a process of its own, which may limit itself, and gives what it gives; -1 if it
// came to no end of its own.
template <class Work>
int RunInChild(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace zel::test
