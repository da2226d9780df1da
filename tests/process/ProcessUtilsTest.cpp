#include "zel/process/ProcessUtils.h"

#include "tests/process/UniqueProgram.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using Processes = std::list<RCPtr<ProcessInfo>>;

TEST(ProcessUtilsTest, FindsWithoutRegardToCaseAndListsWithRegardToIt) {
    test::UniqueProgram program;
    program.Start();
    program.Start();
    const std::string otherCase = "ZEL" + program.name.substr(3);
    Processes processes;
    ProcessUtils::ListProcesses(&processes, program.name);
    ProcessUtils::ListProcesses(&processes, otherCase);
    ASSERT_EQ(processes.size(), 2);
    unsigned int pid = 0;
    EXPECT_TRUE(ProcessUtils::FindProcess(otherCase, &pid));
    EXPECT_EQ(pid, processes.front()->pid) << "the first listed";
    EXPECT_FALSE(ProcessUtils::FindProcess(program.name + "x", &pid));
    EXPECT_EQ(pid, processes.front()->pid);

    ProcessUtils::ListProcesses(&processes, "");
    EXPECT_GT(processes.size(), 4) << "a listing appends";
}

}  // namespace
}  // namespace zel
