#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace zel::test {

// Returns the result of `work`, called in a forked process, or -1 if the process did not exit by
// itself. `work` may set limits on its process.
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
