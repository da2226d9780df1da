#include "zel/core/StackWalker.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace zel {
namespace {

struct FailurePrinter : StackWalker {
    std::string service;

    void OnSymInit(const char* name) override { service = name; }
    void OnDbgHelpErr(const char* function, unsigned long error, unsigned long long) override {
        std::fprintf(stderr, "<%s %lu>", function, error);
    }
};

void ShowWithoutDescriptors() {
    const rlimit none = {};
    setrlimit(RLIMIT_NOFILE, &none);
    FailurePrinter walker;
    _exit(walker.ShowCallstack() ? 0 : 1);
}

TEST(StackWalkerDeathTest, ReportsOnceThatNamesCannotBeRead) {
    FailurePrinter walker;
    walker.LoadModules();
    if (walker.service != "libbacktrace") {
        GTEST_SKIP() << walker.service << " reads nothing";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ShowWithoutDescriptors(), testing::ExitedWithCode(0),
                "^<backtrace_pcinfo " + std::to_string(EMFILE) + ">$");
}

}  // namespace
}  // namespace zel
