#include "zel/crashd/CrashHandler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace zel::crashtest {

namespace {

StackWalker::CallstackEntry MakeEntry(const std::string& symbol, const std::string& file = "",
                                      const std::string& module = "") {
    StackWalker::CallstackEntry entry;
    entry.frameAddress = 0x7FFF'0040'1A2B;
    symbol.copy(entry.symbolName, sizeof(entry.symbolName) - 1);
    file.copy(entry.sourceFile, sizeof(entry.sourceFile) - 1);
    module.copy(entry.moduleName, sizeof(entry.moduleName) - 1);
    return entry;
}

// A walker on a record of its own.
struct Walk {
    Walk() : walker(0, nullptr, 0, record.get()) {}

    void Add(StackWalker::CallstackEntry entry,
             StackWalker::CallstackEntryType type = StackWalker::NextEntry) {
        walker.OnCallstackEntry(type, entry);
    }

    // A frame whose line, its end included, has that many bytes.
    void AddBytes(std::size_t size) {
        const std::string frame = std::to_string(frames++) + " ??? 0x00401A2B  (???:0) \n";
        Add(MakeEntry(std::string(size - frame.size(), 's')));
    }

    std::string Ancillary() const {
        return {record->ancillary, strnlen(record->ancillary, sizeof(record->ancillary))};
    }
    std::string Asserts() const {
        return {record->asserts, strnlen(record->asserts, sizeof(record->asserts))};
    }

    std::unique_ptr<zel_crash_msg_s> record = std::make_unique<zel_crash_msg_s>();
    ZelStackWalker walker;
    int frames = 0;
};

}  // namespace

TEST(ZelStackWalkerTest, MakesALineOfWhatIsKnownOfAFrame) {
    StackWalker::CallstackEntry named = MakeEntry("_Z4mainv", "/src/a b/Main.cpp", "server");
    named.lineNumber = 12;
    StackWalker::CallstackEntry undecorated = named;
    std::strcpy(undecorated.undecoratedName, "main");
    StackWalker::CallstackEntry readable = undecorated;
    std::strcpy(readable.fullyUndecoratedName, "main()");
    StackWalker::CallstackEntry nowhere = named;
    nowhere.frameAddress = 0;
    Walk walk;
    walk.Add(named, StackWalker::FirstEntry);
    walk.Add(undecorated);
    walk.Add(nowhere);
    walk.Add(named, StackWalker::LastEntry);
    walk.Add(readable);
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

TEST(ZelStackWalkerTest, FillsTheFramesToTheLastByte) {
    constexpr std::size_t filled = 3240;
    const struct {
        std::size_t missing;  // bytes behind the frames that fit
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
        for (int i = 0; i < 36; ++i) {
            walk.AddBytes(filled / 36);
        }
        walk.AddBytes(sizeof(zel_crash_msg_s::ancillary) - filled - row.missing);
        const std::size_t before = walk.Ancillary().size();
        walk.AddBytes(row.last);
        const std::string text = walk.Ancillary();
        EXPECT_EQ(text.size() - before, row.kept);
        EXPECT_TRUE(text.ends_with(row.end)) << text.substr(text.size() - 8);
        walk.AddBytes(100);
        EXPECT_EQ(walk.Ancillary(), text);
    }
}

TEST(ZelStackWalkerTest, KeepsWholeErrorsAlone) {
    Walk walk;
    walk.walker.OnDbgHelpErr("SymInit", 5, 0x1'0000'00FF);
    walk.walker.OnDbgHelpErr(std::string(83, 'f').c_str(), 7, 1);
    walk.walker.OnDbgHelpErr("AndOneTooMany", 7, 1);
    const std::string first = "0x000000FF:SymInit:5;0x00000001:" + std::string(83, 'f') + ":7;";
    EXPECT_EQ(walk.Asserts(), first);
    walk.walker.OnDbgHelpErr("", 1, 1);
    EXPECT_EQ(walk.Asserts(), first);
    EXPECT_EQ(walk.record->ancillary[0], '\0');

    ZelStackWalker(0, nullptr, 7, nullptr).OnDbgHelpErr("WithoutARecord", 7, 1);
    Walk full;
    for (const std::size_t length : {300U, 115U, 114U}) {
        full.walker.OnDbgHelpErr(std::string(length, 'f').c_str(), 7, 1);
    }
    EXPECT_EQ(full.Asserts(), "0x00000001:" + std::string(114, 'f') + ":7;");
}

}  // namespace zel::crashtest
