#include "zel/process/ProcessUtils.h"

#include "tests/process/Child.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/RunInChild.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sched.h>
#include <sys/mount.h>

namespace zel {
namespace {

namespace fs = std::filesystem;

using Processes = std::list<RCPtr<ProcessInfo>>;

std::string NameOf(unsigned int pid) {
    Processes processes;
    ProcessUtils::ListProcesses(&processes, "");
    for (const RCPtr<ProcessInfo>& process : processes) {
        if (process->pid == pid) {
            return process->name;
        }
    }
    return "not there";
}

TEST(ProcessUtilsTest, FindsAProcessInAnyCaseAndListsItInItsOwnAlone) {
    const test::UniqueProgram program("/bin/sh");
    const test::Child one({program.path, "-c", "echo; kill -STOP $$"});
    const test::Child another({program.path, "-c", "echo; kill -STOP $$"});
    one.ReadLine();
    another.ReadLine();
    const std::string otherCase = "ZEL" + program.name.substr(3);
    Processes processes;
    ProcessUtils::ListProcesses(&processes, program.name);
    ProcessUtils::ListProcesses(&processes, otherCase);
    ASSERT_EQ(processes.size(), 2);
    EXPECT_EQ(processes.front()->name, program.name);

    unsigned int pid = 0;
    EXPECT_TRUE(ProcessUtils::FindProcess(otherCase, &pid));
    EXPECT_EQ(pid, processes.front()->pid) << "the first of the listing";
    EXPECT_FALSE(ProcessUtils::FindProcess(program.name + "x", &pid));
    EXPECT_EQ(pid, processes.front()->pid);

    ProcessUtils::ListProcesses(&processes, "");
    EXPECT_GT(processes.size(), 4) << "a listing adds to what is there";
    EXPECT_EQ(NameOf(static_cast<unsigned int>(::getpid())), "process_tests");
}

TEST(ProcessUtilsTest, NamesWhatAProcessRunsHoweverThatIsCalled) {
    const test::TemporaryFolder folder;
    for (const std::string name :
         {"zel runs", "zel ran", "zel runs (deleted)", "zel ran (deleted)"}) {
        const fs::path file = folder / name;
        fs::copy_file("/bin/sh", file);
        const test::Child child({file, "-c", "echo; kill -STOP $$"});
        child.ReadLine();
        if (name.starts_with("zel ran")) {
            fs::remove(file);
        }
        EXPECT_EQ(NameOf(child.GetId()), name);
    }
}

TEST(ProcessUtilsTest, ListsAProcessThatHasEndedButIsNotWaitedForAsUnknown) {
    const test::Child ended({"true"});
    ended.ReadLine();
    siginfo_t info = {};
    ::waitid(P_PID, ended.GetId(), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(NameOf(ended.GetId()), "unknown");
}

TEST(ProcessUtilsTest, ThrowsAndLeavesTheListWithoutAProcessFileSystem) {
    constexpr int noRights = 77;
    const int status = test::RunInChild([] {
        const int spaces = CLONE_NEWUSER | CLONE_NEWNS;
        if (::unshare(spaces) != 0 || ::mount("none", "/proc", "tmpfs", 0, nullptr) != 0) {
            return noRights;
        }
        const test::ScopedLogger log;
        Processes processes{new ProcessInfo};
        EXPECT_EQ(
            test::ThrownBy<ProcessUtilsEx>([&] { ProcessUtils::ListProcesses(&processes, ""); }),
            "ProcessUtilsEx: Could not enumerate processes");
        EXPECT_EQ(
            log.sink->TakeText(),
            "\n2 ProcessUtils Exception of type ProcessUtilsEx. Could not enumerate processes");
        EXPECT_EQ(processes.size(), 1);
        return ::testing::Test::HasFailure() ? 1 : 0;
    });
    if (status == noRights) {
        GTEST_SKIP() << "the process file system can't be hidden here";
    }
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace zel
