#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Record.h"
#include "tests/crashd/System.h"
#include "tests/support/SystemTexts.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

namespace zel::crashtest {

namespace {

// A dollar sign is a blank at the end of a line.
std::string ExpectedReport() {
    const std::string text = std::regex_replace(R"(
+------------------------------+
|     Zelmar Crash Handler     |
|     Program Crash Report     |
+------------------------------+
Crash Handler Version: 0.1
Timestamp: [1000000000] DATE
Program Name: a_server_with_a_lon
Process ID: 4294967295
Thread ID: 12
Exception Caught: (11) $
Reason: EXCEPTION_ACCESS_VIOLATION
Fault Address: 00000ABC
Signal Error: (2) MISSING
Last Error: (99999)$
Asserts: 0x00000001:SymInit:5;
Stack Addresses:
	[0] FEDCBA98
	[1] 00000001
Ancillary data:
0 server 0x00000ABC main (Main.cpp:12)$

)",
                                                std::regex("\\$"), " ");
    // The day of the month is padded by the C library.
    const std::time_t time = crash.timestamp;
    return std::regex_replace(std::regex_replace(text, std::regex("DATE\n"), std::ctime(&time)),
                              std::regex("MISSING"), test::MISSING_FILE);
}

// Returns the report of bytes that arrive in pieces, nothing if they are too few.
std::string ReportBytes(std::string_view bytes, std::size_t piece = sizeof(zel_crash_msg_s)) {
    const auto read = [&](void* buffer, std::size_t size) {
        const std::size_t count = bytes.copy(static_cast<char*>(buffer), std::min(size, piece));
        bytes.remove_prefix(count);
        return count;
    };
    zel_crash_msg_s record = {};
    std::ostringstream out;
    if (ReadCrashMessage(read, record)) {
        CheckCrashMessage(record, ENOENT, out);
        PrintCrashReport(record, out);
    }
    return out.str();
}

TEST(CrashDaemonTest, PrintsTheReportByteForByte) {
    for (const std::size_t piece : {1U, 7U, 4095U, 4096U, 100'000U}) {
        EXPECT_EQ(ReportBytes(BytesOf(crash) + "more", piece), ExpectedReport());
    }
    for (std::size_t size = 0; size < sizeof(crash); ++size) {
        ASSERT_EQ(ReportBytes(BytesOf(crash).substr(0, size)), "");
    }
}

TEST(CrashDaemonTest, EndsTheTextsAndTheAddressesOfAHostileRecord) {
    const std::string text = ReportBytes(BytesOf(crash).substr(0, 4) + std::string(4092, 'x'));
    std::ostringstream end;
    end << "\nAsserts: " << std::string(127, 'x') << "\nStack Addresses:";
    for (int i = 0; i < 50; ++i) {
        end << "\n\t[" << i << "] 78787878";
    }
    end << "\nAncillary data:\n" << std::string(3707, 'x') << '\n';
    EXPECT_TRUE(text.ends_with(end.str())) << text;
    EXPECT_NE(text.find("\nProgram Name: " + std::string(19, 'x') + '\n'), std::string::npos);
}

TEST(CrashDaemonTest, ReportsItsOwnFaultIfTheMagicNumberIsWrong) {
    const std::string text = ReportBytes("\xad\x0b" + std::string(4094, '\0'));
    const std::regex expected(
        "crashd: MAGIC bytes are wrong \\(0x00000bad\\)!\n\n[^]*\n"
        "Program Name: crashd\nProcess ID: " +
        std::to_string(GetOwnNumber()) +
        "\nThread ID: [0-9]+"
        "\nException Caught: \\(0\\)  \nReason: Unknown Exception\nFault Address: 00000000\n"
        "Signal Error: \\(0\\) .*\nLast Error: \\(2\\) " +
        test::MISSING_FILE +
        "\nAsserts: \n"
        "Stack Addresses:\nAncillary data:\n"
        "CrashHandler Daemon fault - bailing! LastError=2: " +
        test::MISSING_FILE + "\n\n");
    EXPECT_TRUE(std::regex_match(text, expected)) << text;
}

TEST(CrashDaemonTest, WritesEachReportToANewFile) {
    const test::TemporaryFolder folder;
    const std::string prefix = folder / "pump-";
    const CrashCallback callback = CrashHandler::ReportToFile(prefix);
    std::ofstream(prefix + "20010909T014640Z-4294967295.txt") << "kept";
    callback->Call(&crash);
    callback->Call(&crash);
    for (const auto& [ending, content] :
         {std::pair{"", std::string("kept")}, {"-2", ExpectedReport()}, {"-3", ExpectedReport()}}) {
        const std::string file = prefix + "20010909T014640Z-4294967295" + ending + ".txt";
        std::ostringstream text;
        text << std::ifstream(file).rdbuf();
        EXPECT_EQ(text.str(), content) << file;
    }
    testing::internal::CaptureStderr();
    CrashHandler::ReportToFile(folder / "missing/pump-")->Call(&crash);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with(
        "09T014640Z-4294967295.txt': " + test::MISSING_DIRECTORY + '\n' + ExpectedReport()));
}

StackWalker::CallstackEntry MakeEntry(const std::string& symbol) {
    StackWalker::CallstackEntry entry;
    entry.frameAddress = 0x7FFF'0040'1A2B;
    symbol.copy(entry.symbolName, sizeof(entry.symbolName) - 1);
    return entry;
}

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

    template <std::size_t Size>
    static std::string TextOf(const char (&field)[Size]) {
        return {field, static_cast<std::size_t>(std::find(field, field + Size, 0) - field)};
    }
    std::string Ancillary() const { return TextOf(record.ancillary); }
    std::string Asserts() const { return TextOf(record.asserts); }

    zel_crash_msg_s record = {};
    ZelStackWalker walker{0, nullptr, 0, &record};
};

TEST(ZelStackWalkerTest, FormatsAFrameAsALine) {
    StackWalker::CallstackEntry entry = MakeEntry("_Z4mainv");
    std::strcpy(entry.sourceFile, SOURCE_FILE);
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
    // The bytes after the frames that fit, of the next one, and kept of it, and the end of these.
    const std::tuple<std::size_t, std::size_t, std::size_t, const char*> rows[] = {
        {100, 99, 99, "0) \n"}, {100, 100, 100, "0) \n"}, {100, 101, 99, " \n"},
        {100, 500, 99, " \n"},  {3, 100, 2, "\n \n"},     {2, 100, 0, "0) \n"},
        {1, 100, 0, "0) \n"},   {0, 100, 0, "0) \n"},
    };
    for (const auto& [missing, last, kept, end] : rows) {
        SCOPED_TRACE(testing::Message() << missing << ' ' << last);
        Walk walk;
        for (const std::size_t size : {1000U, 1000U, 1000U}) {
            walk.AddBytes(size);
        }
        walk.AddBytes(sizeof(walk.record.ancillary) - 3000 - missing);
        walk.AddBytes(last);
        const std::string text = walk.Ancillary();
        EXPECT_EQ(text.size(), sizeof(walk.record.ancillary) - missing + kept);
        EXPECT_TRUE(text.ends_with(end)) << text.substr(text.size() - 8);
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
