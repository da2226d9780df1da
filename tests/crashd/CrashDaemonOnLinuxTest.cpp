#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Record.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zel::crashtest {

namespace {

TEST(CrashDaemonTest, WritesReportsForTheOwnerAlone) {
    const test::TemporaryFolder folder;
    CrashHandler::ReportToFile(folder / "pump")->Call(&crash);
    for (const auto& entry : std::filesystem::directory_iterator(folder / "")) {
        EXPECT_EQ(entry.status().permissions(), std::filesystem::perms(0600));
    }
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

}  // namespace

}  // namespace zel::crashtest
