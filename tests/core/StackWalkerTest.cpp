#include "zel/core/StackWalker.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <sys/resource.h>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

// Where only exported names can be looked up, these must be among them.
#define ZEL_VISIBLE __attribute__((noinline, visibility("default")))

namespace zel::stackwalkertest {

class Recorder : public StackWalker {
public:
    using StackWalker::StackWalker;

    bool KnowsLines() const { return service == "libbacktrace"; }
    std::string NameOf(std::size_t entry) const { return entries.at(entry).symbolName; }

    std::string service;
    std::vector<std::string> modules;
    std::vector<CallstackEntryType> types;
    std::vector<CallstackEntry> entries;
    std::vector<std::string> failures;
    std::vector<std::string> lines;

private:
    void OnSymInit(const char* name) override { service = name; }
    void OnLoadModule(const char* file, unsigned long long) override { modules.push_back(file); }
    void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override {
        types.push_back(type);
        entries.push_back(entry);
        StackWalker::OnCallstackEntry(type, entry);
    }
    void OnDbgHelpErr(const char* function, unsigned long error, unsigned long long) override {
        failures.push_back(function + (' ' + std::to_string(error)));
    }
    void OnOutput(const char* text) override { lines.push_back(text); }
};

// Each of these does something behind its call, so that none leaves the stack early.
constexpr int lineOfCall = __LINE__ + 2;
ZEL_VISIBLE bool ShowFromHere(Recorder& walker, const void* context = nullptr) {
    return walker.ShowCallstack(nullptr, context) && !walker.entries.empty();
}

ZEL_VISIBLE bool ShowFromDepth(Recorder& walker, int depth) {
    const bool shown = depth == 0 ? ShowFromHere(walker) : ShowFromDepth(walker, depth - 1);
    return shown && !walker.entries.empty();
}

ZEL_VISIBLE bool ShowFromContextOfHere(Recorder& walker) {
    ucontext_t context = {};
    getcontext(&context);
    return ShowFromHere(walker, &context) && !walker.entries.empty();
}

TEST(StackWalkerTest, ShowsTheOwnStackFromTheCallerOnAndAnEmptyEntryLast) {
    Recorder walker;
    ASSERT_TRUE(ShowFromDepth(walker, 1));

    const StackWalker::CallstackEntry& first = walker.entries.at(0);
    EXPECT_STREQ(first.undecoratedName, "zel::stackwalkertest::ShowFromHere");
    EXPECT_STREQ(
        first.fullyUndecoratedName,
        "zel::stackwalkertest::ShowFromHere(zel::stackwalkertest::Recorder&, void const*)");
    EXPECT_EQ(walker.lines.at(0).find(first.fullyUndecoratedName), 0U);
    EXPECT_NE(walker.modules.at(0).find(first.moduleName), std::string::npos);
    if (walker.KnowsLines()) {
        EXPECT_NE(std::string(first.sourceFile).find("StackWalkerTest.cpp"), std::string::npos);
        EXPECT_EQ(first.lineNumber, lineOfCall);
    }
    EXPECT_STREQ(walker.entries.at(2).undecoratedName, "zel::stackwalkertest::ShowFromDepth");
    EXPECT_EQ(walker.types.at(0), StackWalker::FirstEntry);
    EXPECT_EQ(walker.types.at(1), StackWalker::NextEntry);
    EXPECT_EQ(walker.types.back(), StackWalker::LastEntry);
    EXPECT_EQ(walker.entries.back().frameAddress, 0U);
    EXPECT_EQ(walker.NameOf(walker.entries.size() - 1), "");
}

TEST(StackWalkerTest, ShowsBothEndsOfADeepStack) {
    Recorder walker;
    ASSERT_TRUE(ShowFromDepth(walker, 1000));
    EXPECT_NE(walker.lines.at(32).find(" more ..."), std::string::npos);
    EXPECT_NE(walker.lines.at(33).find("ShowFromDepth"), std::string::npos);
    EXPECT_EQ(walker.lines.back().find("ShowFromDepth"), std::string::npos);
}

TEST(StackWalkerTest, BeginsAtTheFunctionOfAContext) {
    Recorder walker;
    ASSERT_TRUE(ShowFromContextOfHere(walker));
    EXPECT_NE(walker.NameOf(0).find("ShowFromContextOfHere"), std::string::npos);
    EXPECT_EQ(walker.NameOf(1).find("Show"), std::string::npos);
}

TEST(StackWalkerTest, RefusesAnotherProcess) {
    const auto own = static_cast<unsigned long>(getpid());
    EXPECT_TRUE(Recorder(own, nullptr).LoadModules());
    Recorder other(own + 1, nullptr);
    EXPECT_FALSE(ShowFromHere(other));
    EXPECT_TRUE(other.types.empty());
}

void ShowWithoutDescriptors() {
    const rlimit none = {};
    setrlimit(RLIMIT_NOFILE, &none);
    Recorder walker;
    const bool isShown = ShowFromHere(walker);
    for (const std::string& failure : walker.failures) {
        std::fprintf(stderr, "<%s>", failure.c_str());
    }
    _exit(isShown ? 0 : 1);
}

TEST(StackWalkerDeathTest, TellsOnceThatNamesCannotBeRead) {
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
