#include "zel/crashd/CrashHandler.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace zel::crashtest {

namespace {

const zel_crash_msg_s crash = {
    .magic = MAGIC,
    .prog_name = "a_server_with_a_lon",
    .pid = 4'294'967'295,
    .tid = 12,
    .exception_flags = 11,
    .exception_code = 0xC0000005,
    .signal_error = 2,
    .last_error = 99'999,
    .timestamp = 1'000'000'000,
    .fault_address = 0xABC,
    .stack_count = 2,
    .stack_addresses = {0xFEDCBA98, 1},
    .asserts = "0x00000001:SymInit:5;",
    .ancillary = "0 server 0x00000ABC main (Main.cpp:12) \n",
};

// A dollar sign is a blank at the end of a line.
const std::string report = std::regex_replace(R"(
+------------------------------+
|     Zelmar Crash Handler     |
|     Program Crash Report     |
+------------------------------+
Crash Handler Version: 0.1
Timestamp: [1000000000] Sun Sep  9 01:46:40 2001
Program Name: a_server_with_a_lon
Process ID: 4294967295
Thread ID: 12
Exception Caught: (11) $
Reason: EXCEPTION_ACCESS_VIOLATION
Fault Address: 00000ABC
Signal Error: (2) No such file or directory
Last Error: (99999)$
Asserts: 0x00000001:SymInit:5;
Stack Addresses:
	[0] FEDCBA98
	[1] 00000001
Ancillary data:
0 server 0x00000ABC main (Main.cpp:12)$

)",
                                              std::regex("\\$"), " ");

std::string BytesOf(const zel_crash_msg_s& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
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
        EXPECT_EQ(ReportBytes(BytesOf(crash) + "more", piece), report);
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
    const std::string self = std::to_string(getpid());
    const std::regex expected(
        "crashd: MAGIC bytes are wrong \\(0x00000bad\\)!\n\n[^]*\n"
        "Program Name: crashd\nProcess ID: " +
        self + "\nThread ID: " + self +
        "\nException Caught: \\(0\\)  \nReason: Unknown Exception\nFault Address: 00000000\n"
        "Signal Error: \\(0\\) Success\nLast Error: \\(2\\) No such file or directory\nAsserts: \n"
        "Stack Addresses:\nAncillary data:\n"
        "CrashHandler Daemon fault - bailing! LastError=2: No such file or directory\n\n");
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
         {std::pair{"", std::string("kept")}, {"-2", report}, {"-3", report}}) {
        const std::string file = prefix + "20010909T014640Z-4294967295" + ending + ".txt";
        std::ostringstream text;
        text << std::ifstream(file).rdbuf();
        EXPECT_EQ(text.str(), content) << file;
        EXPECT_TRUE(content == "kept" ||
                    std::filesystem::status(file).permissions() == std::filesystem::perms(0600))
            << file;
    }
    testing::internal::CaptureStderr();
    CrashHandler::ReportToFile(folder / "missing/pump-")->Call(&crash);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with(
        "09T014640Z-4294967295.txt': No such file or directory\n" + report));
}

TEST(CrashDaemonDeathTest, ReadsAnyPathAndEndsTheProcess) {
    const auto printer = BindCallback<ZelVoidT, const zel_crash_msg_s*>(
        [](const zel_crash_msg_s* record) { std::fputs(record->prog_name, stderr); });
    const auto thrower = BindCallback<ZelVoidT, const zel_crash_msg_s*>(
        [](const zel_crash_msg_s*) { throw std::runtime_error("out of the daemon"); });
    const test::TemporaryFolder folder;
    const std::string file = folder / "record";
    const std::string fifo = folder / "fifo";
    mkfifo(fifo.c_str(), S_IRUSR | S_IWUSR);
    int other[2];
    ASSERT_EQ(pipe(other), 0);
    const auto run = [&](const std::string& bytes, const CrashCallback& callback) {
        std::ofstream(file, std::ios::binary) << bytes;
        crashd_main(file.c_str(), callback);
    };
    const testing::ExitedWithCode ended(0);
    const std::string start = "^crashd_main: Win32!\n";
    EXPECT_EXIT(run(BytesOf(crash), nullptr), ended, start + "\n.---(.*\n)*Thread ID: 12\n");
    EXPECT_EXIT(run(BytesOf(crash), printer), ended, start + "a_server_with_a_lon$");
    EXPECT_EXIT(run(BytesOf(crash).substr(1), printer), ended, start + '$');
    EXPECT_DEATH(run(BytesOf(crash), thrower), start + ".*\n.*out of the daemon");
    EXPECT_EXIT(
        {
            std::thread([&] { std::ofstream(fifo) << BytesOf(crash); }).detach();
            crashd_main(fifo.c_str(), printer);
        },
        ended, start + "a_server_with_a_lon$");
    for (const auto& [name, error] : {std::pair{std::string("/no/where"), ENOENT},
                                      {fifo, ETIMEDOUT},
                                      {"/dev/zero", EINVAL},
                                      {folder / "", EINVAL},
                                      {"/proc/self/fd/3", EINVAL}}) {
        EXPECT_EXIT(
            {
                dup2(other[0], 3);
                crashd_main(name.c_str(), printer);
            },
            testing::ExitedWithCode(error),
            start + "crashd: Failed to open the crash data pipe '" + name + "'\n$")
            << name;
    }
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
        return {field, strnlen(field, Size)};
    }
    std::string Ancillary() const { return TextOf(record.ancillary); }
    std::string Asserts() const { return TextOf(record.asserts); }

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
