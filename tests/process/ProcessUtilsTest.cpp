#include "zel/process/ProcessUtils.h"

#include "tests/process/UniqueProgram.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/RunInChild.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>

namespace zel {
namespace {

using Processes = std::list<RCPtr<ProcessInfo>>;

std::string NameOf(pid_t pid) {
    Processes processes;
    ProcessUtils::ListProcesses(&processes, "");
    for (const RCPtr<ProcessInfo>& process : processes) {
        if (process->pid == static_cast<unsigned int>(pid)) {
            return process->name;
        }
    }
    return "not there";
}

TEST(ProcessUtilsTest, FindsAProcessInAnyCaseAndListsItInItsOwnAlone) {
    const test::UniqueProgram program;
    const test::ChildProcess one(program.GetCommand());
    const test::ChildProcess another(program.GetCommand());
    one.ReadUntil("\n");
    another.ReadUntil("\n");
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
    EXPECT_EQ(NameOf(::getpid()), "process_tests");
}

TEST(ProcessUtilsTest, NamesWhatAProcessRunsHoweverThatIsCalled) {
    for (const std::string name : {"runs", "ran", "runs (deleted)", "ran (deleted)"}) {
        const test::UniqueProgram program(name);
        const test::ChildProcess child(program.GetCommand());
        child.ReadUntil("\n");
        if (name.starts_with("ran")) {
            std::filesystem::remove(program.path);
        }
        EXPECT_EQ(NameOf(child.GetId()), name);
    }
}

TEST(ProcessUtilsTest, ListsAProcessThatHasEndedButIsNotWaitedForAsUnknown) {
    const test::ChildProcess ended({"true"});
    siginfo_t info = {};
    ::waitid(P_PID, static_cast<id_t>(ended.GetId()), &info, WEXITED | WNOWAIT);
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
