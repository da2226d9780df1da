#include "zel/crashd/CrashHandler.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

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

// The blank at the end of a line is a dollar sign here.
const std::string report = R"(
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

)";

std::string BytesOf(const zel_crash_msg_s& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

// What the daemon makes of some bytes that come in pieces; empty if they are too few.
std::string Take(std::string_view bytes, std::size_t piece = sizeof(zel_crash_msg_s)) {
    const auto read = [&](void* buffer, std::size_t size) {
        const std::size_t count = bytes.copy(static_cast<char*>(buffer), std::min(size, piece));
        bytes.remove_prefix(count);
        return count;
    };
    zel_crash_msg_s record = {};
    std::ostringstream out;
    if (ReadCrashMessage(read, record)) {
        CheckCrashMessage(record, out);
        PrintCrashReport(record, out);
    }
    return out.str();
}

TEST(CrashDaemonTest, PrintsTheReportByteForByte) {
    const std::string expected = std::regex_replace(report, std::regex("\\$"), " ");
    for (const std::size_t piece : {1U, 7U, 4095U, 4096U, 100'000U}) {
        EXPECT_EQ(Take(BytesOf(crash) + "more", piece), expected);
    }
    for (std::size_t size = 0; size < sizeof(crash); ++size) {
        ASSERT_EQ(Take(BytesOf(crash).substr(0, size)), "");
    }
}

TEST(CrashDaemonTest, EndsTheTextsAndTheAddressesOfAHostileRecord) {
    const std::string text = Take(BytesOf(crash).substr(0, 4) + std::string(4092, 'x'));
    std::ostringstream end;
    end << "\nAsserts: " << std::string(127, 'x') << "\nStack Addresses:";
    for (int i = 0; i < 50; ++i) {
        end << "\n\t[" << i << "] 78787878";
    }
    end << "\nAncillary data:\n" << std::string(3707, 'x') << '\n';
    EXPECT_TRUE(text.ends_with(end.str())) << text;
    EXPECT_NE(text.find("\nProgram Name: " + std::string(19, 'x') + '\n'), std::string::npos);
}

TEST(CrashDaemonTest, TellsOfItsOwnFaultWhenTheMarkIsWrong) {
    errno = ENOENT;
    const std::string text = Take("\xad\x0b" + std::string(4094, '\0'));
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

TEST(CrashDaemonDeathTest, ReadsAnyPathAndEndsTheProcess) {
    const auto teller = BindCallback<ZelVoidT, const zel_crash_msg_s*>(
        [](const zel_crash_msg_s* record) { std::fputs(record->prog_name, stderr); });
    const auto thrower = BindCallback<ZelVoidT, const zel_crash_msg_s*>(
        [](const zel_crash_msg_s*) { throw std::runtime_error("out of the daemon"); });
    const test::TemporaryFolder folder;
    const std::string file = folder / "record";
    const auto run = [&](const std::string& bytes, const CrashCallback& callback) {
        std::ofstream(file, std::ios::binary) << bytes;
        crashd_main(file.c_str(), callback);
    };
    const testing::ExitedWithCode ended(0);
    const std::string start = "^crashd_main: Win32!\n";
    EXPECT_EXIT(run(BytesOf(crash), nullptr), ended, start + "\n.---(.*\n)*Thread ID: 12\n");
    EXPECT_EXIT(run(BytesOf(crash), teller), ended, start + "a_server_with_a_lon$");
    EXPECT_EXIT(run(BytesOf(crash).substr(1), teller), ended, start + '$');
    EXPECT_DEATH(run(BytesOf(crash), thrower), start + ".*\n.*out of the daemon");
    EXPECT_EXIT(crashd_main("/no/where", teller), testing::ExitedWithCode(ENOENT),
                start + "crashd: Failed to open the crash data pipe '/no/where'\n$");
}

}  // namespace

}  // namespace zel::crashtest
