#include "zel/core/StackWalker.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

// Exported, as some services find only exported names.
#define ZEL_VISIBLE __attribute__((noinline, visibility("default")))

namespace zel::stackwalkertest {

struct Recorder : StackWalker {
    using StackWalker::StackWalker;

    bool KnowsLines() const { return service == "libbacktrace"; }

    std::string service;
    std::string program;
    std::string types;
    std::vector<CallstackEntry> entries;
    std::vector<std::string> lines;

    void OnSymInit(const char* name) override { service = name; }
    void OnLoadModule(const char* file, unsigned long long) override {
        program = program.empty() ? file : program;
    }
    void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override {
        types += std::to_string(type);
        entries.push_back(entry);
        StackWalker::OnCallstackEntry(type, entry);
    }
    void OnDbgHelpErr(const char* function, unsigned long error, unsigned long long) override {
        std::fprintf(stderr, "<%s %lu>", function, error);
    }
    void OnOutput(const char* text) override { lines.push_back(text); }
};

// Each of these does something after its call, so that it stays on the stack.
constexpr int lineOfCall = __LINE__ + 2;
ZEL_VISIBLE bool ShowFromHere(Recorder& walker, const void* context = nullptr) {
    return walker.ShowCallstack(nullptr, context) && !walker.entries.empty();
}

ZEL_VISIBLE bool ShowFromDepth(Recorder& walker, int depth) {
    ucontext_t context = {};
    getcontext(&context);
    const bool shown = depth > 0   ? ShowFromDepth(walker, depth - 1)
                       : depth < 0 ? ShowFromHere(walker, &context)
                                   : ShowFromHere(walker);
    return shown && !walker.entries.empty();
}

TEST(StackWalkerTest, ReportsTheStackFromTheCallerAndAnEmptyEntryLast) {
    const auto own = static_cast<unsigned long>(getpid());
    EXPECT_FALSE(Recorder(own + 1, nullptr).ShowCallstack());
    Recorder walker(own, nullptr);
    ASSERT_TRUE(ShowFromDepth(walker, 1));
    const StackWalker::CallstackEntry& first = walker.entries.at(0);
    EXPECT_STREQ(first.undecoratedName, "zel::stackwalkertest::ShowFromHere");
    EXPECT_TRUE(walker.lines.at(0).starts_with(
        "zel::stackwalkertest::ShowFromHere(zel::stackwalkertest::Recorder&, void const*) ("))
        << walker.lines.at(0);
    EXPECT_NE(walker.program.find(first.moduleName), std::string::npos);
    if (walker.KnowsLines()) {
        EXPECT_NE(std::string(first.sourceFile).find("StackWalkerTest.cpp"), std::string::npos);
        EXPECT_EQ(first.lineNumber, lineOfCall);
    }
    EXPECT_STREQ(walker.entries.at(2).undecoratedName, "zel::stackwalkertest::ShowFromDepth");
    EXPECT_EQ(walker.types, '0' + std::string(walker.entries.size() - 2, '1') + '2');
    EXPECT_STREQ(walker.entries.back().symbolName, "");
}

TEST(StackWalkerTest, ReportsBothEndsOfADeepStackAndStartsAtAContext) {
    Recorder deep;
    ASSERT_TRUE(ShowFromDepth(deep, 2000));
    EXPECT_NE(deep.lines.at(992).find(" more ..."), std::string::npos);
    EXPECT_NE(deep.lines.at(993).find("ShowFromDepth"), std::string::npos);
    EXPECT_EQ(deep.lines.back().find("ShowFromDepth"), std::string::npos);
    Recorder fromContext;
    ASSERT_TRUE(ShowFromDepth(fromContext, -1));
    EXPECT_NE(fromContext.lines.at(0).find("ShowFromDepth"), std::string::npos);
    EXPECT_EQ(fromContext.lines.at(1).find("ShowFrom"), std::string::npos);
}

void ShowWithoutDescriptors() {
    const rlimit none = {};
    setrlimit(RLIMIT_NOFILE, &none);
    Recorder walker;
    _exit(ShowFromHere(walker) ? 0 : 1);
}

TEST(StackWalkerDeathTest, ReportsOnceThatNamesCannotBeRead) {
    Recorder walker;
    walker.LoadModules();
    if (!walker.KnowsLines()) {
        GTEST_SKIP() << walker.service << " reads nothing";
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ShowWithoutDescriptors(), testing::ExitedWithCode(0),
                "^<backtrace_pcinfo " + std::to_string(EMFILE) + ">$");
}

}  // namespace zel::stackwalkertest
