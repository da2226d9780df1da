#include "tests/crashd/Victim.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#if !defined(ZEL_SANITIZED)

// The program's allocator, which reports calls on a stack for faults.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
    stack_t stack = {};
    if (sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_ONSTACK) != 0) {
        static_cast<void>(write(STDERR_FILENO, "allocation\n", 11));
    }
    return __libc_malloc(size);
}

#endif

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], zel::crashtest::VICTIM) == 0) {
        return zel::crashtest::RunVictim(argc, argv);
    }
    testing::InitGoogleTest(&argc, argv);
    // The sanitizers' own handlers would end a victim in their way, instead of by its signal.
    for (const char* const variable : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        const char* const before = std::getenv(variable);
        const std::string kept = before == nullptr ? "" : std::string(before) + ':';
        const char* const ours =
            "handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigill=0:"
            "handle_sigfpe=0:handle_sigtrap=0:detect_leaks=0";
        setenv(variable, (kept + ours).c_str(), 1);
    }
    setenv("TZ", "UTC", 1);
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    // The daemons become children of this process after their programs have ended.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const zel::test::TemporaryFolder folder;
    std::filesystem::current_path(folder / "");
    return RUN_ALL_TESTS();
}
