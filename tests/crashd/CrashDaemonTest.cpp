#include "zel/crashd/CrashHandler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace zel::crashtest {

namespace {

template <std::size_t Size>
void Fill(char (&field)[Size], const std::string& text) {
    text.copy(field, Size);
}

zel_crash_msg_s MakeRecord() {
    zel_crash_msg_s record = {};
    record.magic = MAGIC;
    Fill(record.prog_name, "a_server_with_a_long_name");
    record.pid = 4'294'967'295;
    record.tid = 12;
    record.exception_flags = 11;
    record.exception_code = 0xC0000005;
    record.signal_error = 2;
    record.last_error = 99'999;
    record.timestamp = 1'000'000'000;
    record.fault_address = 0xABC;
    Fill(record.asserts, "0x00000001:SymInit:5;");
    Fill(record.ancillary, "0 server 0x00000ABC main (Main.cpp:12) \n");
    return record;
}

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
Exception Caught: (11)  )"
                           R"(
Reason: EXCEPTION_ACCESS_VIOLATION
Fault Address: 00000ABC
Signal Error: (2) No such file or directory
Last Error: (99999) )"
                           R"(
Asserts: 0x00000001:SymInit:5;
Stack Addresses:
Ancillary data:
0 server 0x00000ABC main (Main.cpp:12) )"
                           "\n\n";

// What the daemon makes of some bytes that come in pieces; empty if they are too few.
std::string Take(const std::string& bytes, std::size_t piece) {
    std::size_t position = 0;
    const auto read = [&](void* buffer, std::size_t size) {
        const std::size_t count = std::min({size, piece, bytes.size() - position});
        std::memcpy(buffer, bytes.data() + position, count);
        position += count;
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

std::string BytesOf(const zel_crash_msg_s& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

}  // namespace

TEST(CrashDaemonTest, PrintsTheReportByteForByte) {
    zel_crash_msg_s record = MakeRecord();
    for (const std::size_t piece : {1U, 7U, 4095U, 4096U, 100'000U}) {
        EXPECT_EQ(Take(BytesOf(record), piece), report);
    }
    EXPECT_EQ(Take(BytesOf(record) + "more", 5000), report);
}

TEST(CrashDaemonTest, PrintsFiftyAddressesAtMost) {
    zel_crash_msg_s record = MakeRecord();
    record.stack_count = 51;
    record.stack_addresses[0] = 0xFEDCBA98;
    std::ostringstream expected;
    for (int i = 0; i < 50; ++i) {
        expected << "\n\t[" << i << "] " << (i == 0 ? "FEDCBA98" : "00000000");
    }
    EXPECT_NE(Take(BytesOf(record), 4096)
                  .find("\nStack Addresses:" + expected.str() + "\nAncillary data:\n0 server"),
              std::string::npos);
}

TEST(CrashDaemonTest, TellsOfItsOwnFaultWhenTheMarkIsWrong) {
    zel_crash_msg_s record = MakeRecord();
    record.magic = 0xBAD;
    errno = ENOENT;
    const std::string text = Take(BytesOf(record), 4096);
    const std::string self = std::to_string(getpid());
    EXPECT_EQ(text.find("crashd: MAGIC bytes are wrong (0x00000bad)!\n\n+---"), 0U);
    for (const std::string& line :
         {std::string("Program Name: crashd"), "Process ID: " + self, "Thread ID: " + self,
          std::string("Exception Caught: (0)  "), std::string("Reason: Unknown Exception"),
          std::string("Fault Address: 00000000"), std::string("Signal Error: (0) Success"),
          std::string("Last Error: (2) No such file or directory\nAsserts: "),
          std::string("Ancillary data:\nCrashHandler Daemon fault - bailing! LastError=2: No "
                      "such file or directory\n")}) {
        EXPECT_NE(text.find('\n' + line + '\n'), std::string::npos) << line;
    }
}

TEST(CrashDaemonTest, TakesWhateverComes) {
    const std::string bytes = BytesOf(MakeRecord());
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        ASSERT_EQ(Take(bytes.substr(0, size), 4096), "") << size;
    }
    std::mt19937 random(7);
    constexpr int mutations = 100'000;
    int faults = 0;
    for (int i = 0; i < mutations; ++i) {
        std::string mutated = bytes;
        for (std::size_t change = random() % 16; change > 0; --change) {
            const std::size_t position = random() % (random() % 2 == 0 ? 64 : mutated.size());
            const std::size_t length =
                std::min<std::size_t>(random() % 400, bytes.size() - position);
            mutated.replace(position, length, length, static_cast<char>(random()));
        }
        const std::string text = Take(mutated, 4096);
        ASSERT_NE(text.find("\nAncillary data:\n"), std::string::npos);
        faults += text.starts_with("crashd: MAGIC") ? 1 : 0;
    }
    EXPECT_GT(faults, mutations / 10);
    EXPECT_LT(faults, mutations - mutations / 10);
}

TEST(CrashDaemonDeathTest, ReadsAnyPathAndEndsTheProcess) {
    const std::string bytes = BytesOf(MakeRecord());
    const auto callback = BindCallback<ZelVoidT, const zel_crash_msg_s*>(
        [](const zel_crash_msg_s* record) { std::fputs(record->prog_name, stderr); });
    const struct {
        std::string bytes;
        CrashCallback callback;
        std::string errors;
    } rows[] = {
        {bytes, nullptr, "!\n\n.---(.*\n)*Program Name: a_server_with_a_lon\n"},
        {bytes, callback, "!\na_server_with_a_lon$"},
        {bytes.substr(1), callback, "!\n$"},
    };
    const std::string file = testing::TempDir() + "crashd_record." + std::to_string(getpid());
    for (const auto& row : rows) {
        std::ofstream(file, std::ios::binary) << row.bytes;
        EXPECT_EXIT(crashd_main(file.c_str(), row.callback), testing::ExitedWithCode(0),
                    "^crashd_main: Win32" + row.errors);
    }
    const auto thrower = BindCallback<ZelVoidT, const zel_crash_msg_s*>(
        [](const zel_crash_msg_s*) -> ZelVoidT { throw std::runtime_error("out of the daemon"); });
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_DEATH(crashd_main(file.c_str(), thrower), "out of the daemon");
    std::filesystem::remove(file);
    EXPECT_EXIT(crashd_main("/no/where", callback), testing::ExitedWithCode(ENOENT),
                "^crashd_main: Win32!\ncrashd: Failed to open the crash data pipe '/no/where'\n$");
}

}  // namespace zel::crashtest
