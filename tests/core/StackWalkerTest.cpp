#include "zel/core/StackWalker.h"

#include "tests/support/CallWithContext.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace zel::stackwalkertest {

struct Recorder : StackWalker {
    using StackWalker::StackWalker;

    bool KnowsLines() const { return service != "dladdr"; }

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
[[gnu::noinline]] bool ShowFromHere(Recorder& walker, const void* context = nullptr) {
    return walker.ShowCallstack(nullptr, context) && !walker.entries.empty();
}

[[gnu::noinline]] bool ShowFromDepth(Recorder& walker, int depth) {
    const bool shown = depth > 0 ? ShowFromDepth(walker, depth - 1) : ShowFromHere(walker);
    return shown && !walker.entries.empty();
}

// Returns the name as far as every service knows it, without namespaces and parameters.
std::string NameOf(const StackWalker::CallstackEntry& entry) {
    const bool isFull = entry.undecoratedName[0] != '\0';
    const std::string name = isFull ? entry.undecoratedName : entry.symbolName;
    return name.substr(name.rfind(':') + 1);
}

TEST(StackWalkerTest, ReportsTheStackFromTheCallerAndAnEmptyEntryLast) {
    const auto own = static_cast<unsigned long>(getpid());
    EXPECT_FALSE(Recorder(own + 1, nullptr).ShowCallstack());
    Recorder walker(own, nullptr);
    ASSERT_TRUE(ShowFromDepth(walker, 1));
    const StackWalker::CallstackEntry& first = walker.entries.at(0);
    EXPECT_EQ(NameOf(first), "ShowFromHere");
    const std::string full =
        "zel::stackwalkertest::ShowFromHere(zel::stackwalkertest::Recorder&, void const*)";
    const std::string line = walker.lines.at(0);
    EXPECT_TRUE(first.undecoratedName[0] == '\0' || line.starts_with(full + " (")) << line;
    EXPECT_NE(line.find("ShowFromHere"), line.npos) << line;
    EXPECT_NE(walker.program.find(first.moduleName), std::string::npos);
    if (walker.KnowsLines()) {
        EXPECT_NE(std::string(first.sourceFile).find("StackWalkerTest.cpp"), std::string::npos);
        EXPECT_EQ(first.lineNumber, lineOfCall);
    }
    EXPECT_EQ(NameOf(walker.entries.at(2)), "ShowFromDepth");
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
    test::CallWithContext([&](const void* context) { ShowFromHere(fromContext, context); });
    EXPECT_NE(fromContext.lines.at(0).find("CallWithContext"), std::string::npos);
    EXPECT_NE(fromContext.lines.at(1).find("TestBody"), std::string::npos);
}

}  // namespace zel::stackwalkertest
