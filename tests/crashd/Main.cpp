#include "tests/crashd/Victim.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/prctl.h>

namespace {

// The sanitizers' own handlers stood before ours and would end the process in their way, instead
// of by the true signal. Children inherit what is set here.
void KeepSanitizersOut(const char* variable) {
    const char* const before = std::getenv(variable);
    std::string options = before == nullptr ? "" : std::string(before) + ':';
    for (const char* const signal : {"segv", "sigbus", "abort", "sigill", "sigfpe", "sigtrap"}) {
        options += std::string("handle_") + signal + "=0:";
    }
    setenv(variable, (options + "detect_leaks=0").c_str(), 1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], zel::crashtest::VICTIM) == 0) {
        return zel::crashtest::RunVictim(argc, argv);
    }
    testing::InitGoogleTest(&argc, argv);
    for (const char* const variable : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        KeepSanitizersOut(variable);
    }
    setenv("TZ", "UTC", 1);
    // So the daemons become children of this process when their programs are gone.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    return RUN_ALL_TESTS();
}
