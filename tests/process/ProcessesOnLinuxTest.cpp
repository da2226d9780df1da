#include "zel/process/ProcessUtils.h"

#include "tests/process/UniqueProgram.h"
#include "tests/support/linux/RunInChild.h"
#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

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
    return "not listed";
}

TEST(ProcessesOnLinuxTest, NamesDeletedExecutablesButNoZombies) {
    for (const std::string name : {"runs", "ran", "runs (deleted)", "ran (deleted)"}) {
        test::UniqueProgram program{.name = name};
        const pid_t process = program.Start();
        if (name.starts_with("ran")) {
            std::filesystem::remove(program.path);
        }
        EXPECT_EQ(NameOf(process), name);
    }
    const test::ChildProcess zombie({"true"});
    siginfo_t info = {};
    ::waitid(P_PID, static_cast<id_t>(zombie.GetId()), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(NameOf(zombie.GetId()), "unknown");
}

TEST(ProcessesOnLinuxTest, ThrowsAndKeepsTheListWithoutAProcessFileSystem) {
    constexpr int notPermitted = 77;
    const int status = test::RunInChild([] {
        const int spaces = CLONE_NEWUSER | CLONE_NEWNS;
        if (::unshare(spaces) != 0 || ::mount("none", "/proc", "tmpfs", 0, nullptr) != 0) {
            return notPermitted;
        }
        const test::ScopedLogger log;
        Processes processes{new ProcessInfo};
        EXPECT_THROW(ProcessUtils::ListProcesses(&processes, ""), ProcessUtilsEx);
        EXPECT_EQ(
            log.sink->TakeText(),
            "\n2 ProcessUtils Exception of type ProcessUtilsEx. Could not enumerate processes");
        EXPECT_EQ(processes.size(), 1);
        return ::testing::Test::HasFailure() ? 1 : 0;
    });
    if (status == notPermitted) {
        GTEST_SKIP() << "no permission to hide /proc";
    }
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace zel
