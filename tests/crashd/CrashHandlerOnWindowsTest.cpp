#include "tests/crashd/Expectation.h"

#include <gtest/gtest.h>

#include <memory>
#include <windows.h>

namespace zel::crashtest {

namespace {

constexpr int EndOf(unsigned code) {
    return -static_cast<int>(code);
}

constexpr int violationEnd = EndOf(0xC0000005);
constexpr int abortEnd = EndOf(0xC0000025);

const std::string first = "0 crashd_tests\\.exe \\S+ \\S*";
const std::string dying = "0 crashd_tests\\.exe [^]*DieAsRequested";
const std::string violation = "EXCEPTION_ACCESS_VIOLATION";
const std::string lines = "[^]*DieAsRequested\\S* \\(Victim\\.cpp:[1-9]";
const std::string report = ReportOf(0, violation, first + "WriteToNowhere" + lines);
const std::string abortReport =
    ReportOf(1, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "0 msvcrt[^]*DieAsRequested");

}  // namespace

// Wine's heap doesn't detect overwritten memory.
const std::vector<Row> DEATHS = {
    {"null", violationEnd, report},
    {"overflow", EndOf(0xC00000FD), ReportOf(0, "EXCEPTION_STACK_OVERFLOW", first + "Recurse")},
    {"division", EndOf(0xC0000094), ReportOf(0, "EXCEPTION_INT_DIVIDE_BY_ZERO", dying)},
    {"illegal", EndOf(0xC000001D), ReportOf(0, "EXCEPTION_ILLEGAL_INSTRUCTION", dying)},
    {"breakpoint", EndOf(0x80000003), ReportOf(0, "EXCEPTION_BREAKPOINT", dying)},
    {"jump", violationEnd,
     ReportOf(
         0, violation,
         "0 \\?{3} 0x00001000 \\?{3} \\(\\?{3}:0\\) \n1 crashd_tests\\.exe [^]*DieAsRequested")},
    {"abort", abortEnd, abortReport},
    {"throw", abortEnd, "  what\\(\\):  nobody catches this\n[^]*" + abortReport},
    {"pure", violationEnd,
     "Reason: " + violation + "\nFault Address: 00000000\n[^]*\n0 \\S+ \\S+ \\S*Describe"},
};

const std::vector<std::string> THREADS = {"native thread"};

namespace {

const std::string nothing = "^crashd_main: Win32!\n$";
const std::string area = "\n[0-9] CrashHandler \\[CrashHandler::Initialize\\] ";
const std::string progress = "^\n4 CrashHandler \\[CrashHandler::Initialize\\] ";
const std::string neverConnected =
    area +
    "(crash daemon never connected to the PIPE! Crash handling disabled\\.|Crash daemon "
    "didn't start running!)\nnot set up\n";
const std::string unread =
    ReportOf(0, violation, "0 crashd_tests\\.exe \\S+ \\+0x[^]*\n1 crashd_tests\\.exe \\S+ \\+0x");

const Row shapes[] = {
    // Ends without a crash, and codes.
    {"return", 0, nothing},
    {"kill", -3, nothing},
    {"error", -5, "\nSignal Error: \\(5\\) .+\nLast Error: \\(5\\) .+\n"},
    {"raise:C000008D", EndOf(0xC000008D), "\nReason: EXCEPTION_FLT_DENORMAL_OPERAND\n"},
    {"raise:E0000001", EndOf(0xE0000001), "\nReason: Unknown Exception\n"},
    {"threads:30", violationEnd, ReportOf(0, violation, first + "WriteToNowhere")},
    // Calls of Initialize.
    {"null", violationEnd, report,
     progress + "Successfully started crash daemon: PID=[0-9]+: waiting for pipe connection\\.{3}" +
         area + "Successfully initialized crash handling\\." + area +
         "crash handling seems to be initialized \\(keeping current state\\)\\.\nset up\n",
     "twice"},
    {"null", violationEnd, "\nProgram Name: n{19}\n", "", "long name"},
    {"null", violationEnd, "^$", area + "Error creating the NamedPipe. System said '[0-9]+'\nnot",
     "alone, name taken"},
    {"null", violationEnd, "^$",
     area + "Could not start crash daemon process! System said: '2'\nnot", "missing program"},
    {"return", 0, "^running\n$", neverConnected, "own number"},
    {"return", 0, "^$", neverConnected, "alone, helper ends"},
    {"null", violationEnd, "^$", "\nset up\n", "alone, silent helper"},
    {"null", violationEnd, "!\ncallback: crashd_tests.exe died by signal 0\n$", "", "worker"},
    // Look-ups of names that fail themselves or don't end.
    {"null", violationEnd, unread, "", "broken symbols"},
    {"null", violationEnd, unread, "", "endless symbols"},
    // A filter that was installed before.
    {"null", violationEnd, report, "\nrecovered\n$", "repair"},
};

TEST(CrashHandlerTest, ReportsProgramsOfEveryShapeOnceAndNoOtherEnd) {
    for (const Row& row : shapes) {
        Expect(row);
    }
}

TEST(CrashHandlerTest, EndsAsEverIfTheDaemonIsGone) {
    Child child("die later", "main");
    const std::string log = child.WaitUntilReady();
    const auto daemon = std::stoul(log.substr(log.find("PID=") + 4));
    const HANDLE process = ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, daemon);
    ::TerminateProcess(process, 1);
    ::WaitForSingleObject(process, INFINITE);
    ::CloseHandle(process);
    child.Write("\n");
    const Outcome outcome = child.Finish();
    EXPECT_EQ(outcome.errors, "crashd_main: Win32!\nError writing crash data into PIPE!\n");
    EXPECT_NE(outcome.status, 0);
}

TEST(CrashHandlerTest, ProgramsOfOneNameHaveDaemonsOfTheirOwn) {
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < 3; ++i) {
        children.push_back(std::make_unique<Child>("die later", "main"));
    }
    for (const auto& child : children) {
        child->WaitUntilReady();
    }
    for (const auto& child : children) {
        child->Write("\n");
        const Outcome outcome = child->Finish();
        EXPECT_EQ(outcome.CountReports(), 1) << outcome.errors;
        EXPECT_TRUE(
            Contains(outcome.errors, "\nProcess ID: " + std::to_string(child->GetId()) + '\n'))
            << outcome.errors;
    }
}

}  // namespace

}  // namespace zel::crashtest
