// A program whose helper process walks the stack of a crashed process by ptrace. It reports
// function names and offsets but no source lines.

#include "bench/crashd/Fault.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <libunwind-ptrace.h>
#include <string>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::bench {

namespace {

int s_requests[2];
int s_answers[2];

std::string Walk(pid_t thread) {
    std::string report;
    const unw_addr_space_t space = unw_create_addr_space(&_UPT_accessors, 0);
    void* const walk = _UPT_create(thread);
    unw_cursor_t cursor;
    if (unw_init_remote(&cursor, space, walk) == 0) {
        do {
            char line[512];
            char name[256] = "???";
            unw_word_t offset = 0;
            unw_word_t address = 0;
            unw_get_proc_name(&cursor, name, sizeof(name), &offset);
            unw_get_reg(&cursor, UNW_REG_IP, &address);
            std::snprintf(line, sizeof(line), "0x%lx %s+0x%lx\n", address, name, offset);
            report += line;
        } while (unw_step(&cursor) > 0);
    }
    _UPT_destroy(walk);
    return report;
}

[[noreturn]] void ServeOneCrash() {
    pid_t thread = 0;
    if (read(s_requests[0], &thread, sizeof(thread)) == sizeof(thread) &&
        ptrace(PTRACE_ATTACH, thread, nullptr, nullptr) == 0) {
        waitpid(thread, nullptr, __WALL);
        const std::string report = Walk(thread);
        static_cast<void>(write(STDERR_FILENO, report.data(), report.size()));
        ptrace(PTRACE_DETACH, thread, nullptr, nullptr);
    }
    _exit(0);
}

// Blocks until the helper has exited, which closes the pipe.
void CallHelper(int signal) {
    const auto thread = static_cast<pid_t>(syscall(SYS_gettid));
    static_cast<void>(write(s_requests[1], &thread, sizeof(thread)));
    while (read(s_answers[0], &signal, 1) < 0 && errno == EINTR) {
    }
    std::signal(SIGSEGV, SIG_DFL);
}

void StartHelper() {
    if (pipe(s_requests) != 0 || pipe(s_answers) != 0) {
        std::exit(1);
    }
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    if (fork() == 0) {
        close(s_requests[1]);
        ServeOneCrash();
    }
    close(s_answers[1]);
}

}  // namespace

}  // namespace zel::bench

int main() {
    zel::bench::StartHelper();
    std::signal(SIGSEGV, zel::bench::CallHelper);
    static_cast<void>(write(STDOUT_FILENO, "r", 1));
    zel::bench::FaultOnDemand();
}
