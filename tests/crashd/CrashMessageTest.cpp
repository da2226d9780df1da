#include "zel/crashd/CrashHandler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace zel::crashtest {

namespace {

StackWalker::CallstackEntry MakeEntry(const std::string& symbol) {
    StackWalker::CallstackEntry entry;
    entry.frameAddress = 0x7FFF'0040'1A2B;
    symbol.copy(entry.symbolName, sizeof(entry.symbolName) - 1);
    return entry;
}

// A walker with its record.
struct Walk {
    void Add(StackWalker::CallstackEntry entry,
             StackWalker::CallstackEntryType type = StackWalker::NextEntry) {
        walker.OnCallstackEntry(type, entry);
    }

    // Adds a frame with a line of `size` bytes, including its end.
    void AddBytes(std::size_t size) {
        constexpr std::size_t others = std::string_view("0 ??? 0x00401A2B  (???:0) \n").size();
        Add(MakeEntry(std::string(size - others, 's')));
    }

    std::string Ancillary() const {
        return {record.ancillary, strnlen(record.ancillary, sizeof(record.ancillary))};
    }
    std::string Asserts() const {
        return {record.asserts, strnlen(record.asserts, sizeof(record.asserts))};
    }

    zel_crash_msg_s record = {};
    ZelStackWalker walker{0, nullptr, 0, &record};
};

TEST(ZelStackWalkerTest, FormatsAFrameAsALine) {
    StackWalker::CallstackEntry entry = MakeEntry("_Z4mainv");
    std::strcpy(entry.sourceFile, "/src/a b/Main.cpp");
    std::strcpy(entry.moduleName, "server");
    entry.lineNumber = 12;
    StackWalker::CallstackEntry nowhere = entry;
    nowhere.frameAddress = 0;
    Walk walk;
    walk.Add(entry, StackWalker::FirstEntry);
    walk.Add(nowhere);
    walk.Add(entry, StackWalker::LastEntry);
    std::strcpy(entry.undecoratedName, "main");
    walk.Add(entry);
    std::strcpy(entry.fullyUndecoratedName, "main()");
    walk.Add(entry);
    walk.Add(MakeEntry(""));
    walk.Add(MakeEntry(std::string(1023, 's')));
    EXPECT_EQ(walk.Ancillary(),
              "0 server 0x00401A2B _Z4mainv (Main.cpp:12) \n"
              "1 server 0x00401A2B main (Main.cpp:12) \n"
              "2 server 0x00401A2B main() (Main.cpp:12) \n"
              "3 ??? 0x00401A2B ??? (???:0) \n"
              "4 ??? 0x00401A2B " +
                  std::string(1007, 's') + " \n");
}

TEST(ZelStackWalkerTest, FillsTheTextToTheLastByte) {
    const struct {
        std::size_t missing;  // bytes after the frames that fit
        std::size_t last;     // bytes of the next
        std::size_t kept;     // bytes then
        const char* end;
    } rows[] = {
        {100, 99, 99, "0) \n"}, {100, 100, 100, "0) \n"}, {100, 101, 99, " \n"},
        {100, 500, 99, " \n"},  {3, 100, 2, "\n \n"},     {2, 100, 0, "0) \n"},
        {1, 100, 0, "0) \n"},   {0, 100, 0, "0) \n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.missing << ' ' << row.last);
        Walk walk;
        for (const std::size_t size : {1000U, 1000U, 1000U}) {
            walk.AddBytes(size);
        }
        walk.AddBytes(sizeof(walk.record.ancillary) - 3000 - row.missing);
        walk.AddBytes(row.last);
        const std::string text = walk.Ancillary();
        EXPECT_EQ(text.size(), sizeof(walk.record.ancillary) - row.missing + row.kept);
        EXPECT_TRUE(text.ends_with(row.end)) << text.substr(text.size() - 8);
        walk.AddBytes(100);
        EXPECT_EQ(walk.Ancillary(), text);
    }
}

TEST(ZelStackWalkerTest, KeepsOnlyWholeErrors) {
    Walk walk;
    walk.walker.OnDbgHelpErr("SymInit", 5, 0x1'0000'00FF);
    walk.walker.OnDbgHelpErr(std::string(83, 'f').c_str(), 7, 1);
    walk.walker.OnDbgHelpErr("AndOneTooMany", 7, 1);
    walk.walker.OnDbgHelpErr("", 1, 1);
    EXPECT_EQ(walk.Asserts(), "0x000000FF:SymInit:5;0x00000001:" + std::string(83, 'f') + ":7;");
    EXPECT_EQ(walk.Ancillary(), "");

    ZelStackWalker(0, nullptr, 7, nullptr).OnDbgHelpErr("WithoutARecord", 7, 1);
    Walk full;
    for (const std::size_t length : {300U, 115U, 114U}) {
        full.walker.OnDbgHelpErr(std::string(length, 'f').c_str(), 7, 1);
    }
    EXPECT_EQ(full.Asserts(), "0x00000001:" + std::string(114, 'f') + ":7;");
}

}  // namespace

}  // namespace zel::crashtest
