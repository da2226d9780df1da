#include "zel/process/ProcessUtils.h"

#include "tests/process/Child.h"
#include "tests/support/RecordingLogSink.h"

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
    std::string folder = fs::temp_directory_path() / "zel_process_XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    const struct {
        const char* file;
        bool isDeleted;
    } rows[] = {{"zel runs", false},
                {"zel ran", true},
                {"zel runs (deleted)", false},
                {"zel ran (deleted)", true}};
    for (const auto& row : rows) {
        const fs::path file = fs::path(folder) / row.file;
        fs::copy_file("/bin/sh", file);
        const test::Child child({file, "-c", "echo; kill -STOP $$"});
        child.ReadLine();
        if (row.isDeleted) {
            fs::remove(file);
        }
        EXPECT_EQ(NameOf(child.GetId()), row.file);
    }
    fs::remove_all(folder);
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
    const pid_t child = ::fork();
    if (child == 0) {
        const int spaces = CLONE_NEWUSER | CLONE_NEWNS;
        if (::unshare(spaces) != 0 || ::mount("none", "/proc", "tmpfs", 0, nullptr) != 0) {
            ::_exit(noRights);
        }
        const test::ScopedLogger log;
        Processes processes{nullptr};
        std::string text;
        try {
            ProcessUtils::ListProcesses(&processes, "");
        } catch (const ProcessUtilsEx& ex) {
            text = ex.AsString();
        }
        const std::vector<std::string> line = {
            "2 ProcessUtils Exception of type ProcessUtilsEx. Could not enumerate processes"};
        EXPECT_EQ(text, "ProcessUtilsEx: Could not enumerate processes");
        EXPECT_EQ(log.sink->TakeLines(), line);
        EXPECT_EQ(processes.size(), 1);
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WEXITSTATUS(status) == noRights) {
        GTEST_SKIP() << "the process file system can't be hidden here";
    }
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace zel
