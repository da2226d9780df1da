#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Child.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>

namespace zel::crashtest {

namespace {

#if defined(ZEL_SANITIZED)
constexpr bool isSanitized = true;
constexpr std::chrono::seconds soon{20};
#else
constexpr bool isSanitized = false;
constexpr std::chrono::seconds soon{2};
#endif

constexpr const char* head = "|     Program Crash Report     |";
constexpr const char* firstLine = "crashd_main: Win32!\n";

bool Contains(const std::string& text, const std::string& pattern) {
    return std::regex_search(text, std::regex(pattern));
}

struct Row {
    const char* death;
    int signal;
    const char* reason;
    const char* stack;  // what the first frames' text begins with
};

// `Name` stands for a function of that name in a form with or without its scope.
const Row deaths[] = {
    {"null", SIGSEGV, "EXCEPTION_ACCESS_VIOLATION", "^0 crashd_tests [^ ]* [^ ]*DieByNull"},
    {"overflow", SIGSEGV, "EXCEPTION_STACK_OVERFLOW", "^0 crashd_tests [^ ]* [^ ]*Recurse"},
    {"divide", SIGFPE, "EXCEPTION_INT_DIVIDE_BY_ZERO", "^0 crashd_tests [^ ]* [^ ]*DieByDivision"},
    {"bus", SIGBUS, "EXCEPTION_IN_PAGE_ERROR", "^0 crashd_tests [^ ]* [^ ]*DieByCutMapping"},
    {"jump", SIGSEGV, "EXCEPTION_ACCESS_VIOLATION",
     "^0 \\?\\?\\? 0x00001000 \\?\\?\\? \\(\\?\\?\\?:0\\) \n1 crashd_tests [^ ]* [^ ]*DieByJump"},
    {"smashed", SIGSEGV, "EXCEPTION_ACCESS_VIOLATION",
     "^0 crashd_tests [^ ]* [^ ]*DieOnSmashedStack"},
    {"abort", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "DieByAbort"},
    {"throw", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "DieByThrow"},
    {"pure", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "Unfinished"},
    {"heap", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "DieByHeap"},
};

// The sanitizers find some first, a thread that has no stack to report on dies without a word when
// its own is gone, and a Thread survives what is thrown.
bool IsOutOfReach(const std::string& death, const std::string& place) {
    const bool needsStack = death == "overflow" || death == "smashed";
    return (isSanitized && (death == "heap" || death == "smashed")) ||
           (place == "unprotected" && needsStack) || (place == "thread" && death == "throw");
}

void ExpectReport(const Row& row, const std::string& place) {
    const std::string death = row.death;
    const Outcome outcome = Child(death, place).Finish();
    EXPECT_TRUE(outcome.EndedBy(row.signal)) << outcome.status;
    EXPECT_EQ(outcome.Count(head), 1U) << outcome.errors;
    EXPECT_EQ(outcome.Count("allocation"), 0U);
    EXPECT_EQ(outcome.Line("Exception Caught: "), "(" + std::to_string(row.signal) + ") ");
    EXPECT_EQ(outcome.Line("Reason: "), row.reason);
    EXPECT_EQ(outcome.Count("  what():  nobody catches this\n"), death == "throw" ? 1U : 0U);
    EXPECT_LT(outcome.afterlife, soon);

    const std::string heading = "Ancillary data:\n";
    const std::size_t stack = outcome.errors.find(heading);
    ASSERT_NE(stack, std::string::npos);
    const std::string frames = outcome.errors.substr(stack + heading.size());
    EXPECT_TRUE(Contains(frames, row.stack)) << frames;
    EXPECT_EQ(frames.substr(frames.find("0x") + 2, 8), outcome.Line("Fault Address: "));
    EXPECT_EQ(frames.find("Filter"), std::string::npos);
    if (place == "plugin" && death != "smashed" && death != "overflow") {
        EXPECT_TRUE(Contains(frames, "crash_plugin[^ ]* 0x[^ ]* CallFromPlugin")) << frames;
    }
}

class DeathTest : public testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(DeathTest, EveryDeathLeavesOneReportAndEndsByItsOwnSignal) {
    for (const Row& row : deaths) {
        SCOPED_TRACE(row.death);
        if (!IsOutOfReach(row.death, GetParam())) {
            ExpectReport(row, GetParam());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Places, DeathTest,
                         testing::Values("main", "thread", "foreign", "unprotected", "plugin",
                                         "destructor"),
                         [](const auto& place) { return place.param; });

TEST(CrashHandlerTest, TellsTheKindOfEachSignal) {
    const struct {
        int signal;
        int kind;
        const char* reason;
    } rows[] = {
        {SIGBUS, BUS_ADRALN, "EXCEPTION_DATATYPE_MISALIGNMENT"},
        {SIGFPE, FPE_INTOVF, "EXCEPTION_INT_OVERFLOW"},
        {SIGFPE, FPE_FLTDIV, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
        {SIGFPE, FPE_FLTOVF, "EXCEPTION_FLT_OVERFLOW"},
        {SIGFPE, FPE_FLTUND, "EXCEPTION_FLT_UNDERFLOW"},
        {SIGFPE, FPE_FLTRES, "EXCEPTION_FLT_INEXACT_RESULT"},
        {SIGFPE, FPE_FLTINV, "EXCEPTION_FLT_INVALID_OPERATION"},
        {SIGFPE, FPE_FLTSUB, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
        {SIGFPE, SI_USER, "Unknown Exception"},
        {SIGILL, ILL_ILLOPC, "EXCEPTION_ILLEGAL_INSTRUCTION"},
        {SIGILL, ILL_PRVOPC, "EXCEPTION_PRIV_INSTRUCTION"},
        {SIGTRAP, TRAP_BRKPT, "EXCEPTION_BREAKPOINT"},
        {SIGTRAP, TRAP_TRACE, "EXCEPTION_SINGLE_STEP"},
        {SIGSYS, 1, "Unknown Exception"},
        {SIGSEGV, SI_USER, "EXCEPTION_ACCESS_VIOLATION"},
    };
    for (const auto& row : rows) {
        const std::string death =
            "signal:" + std::to_string(row.signal) + ':' + std::to_string(row.kind);
        SCOPED_TRACE(death);
        const Outcome outcome = Child(death, "main").Finish();
        EXPECT_TRUE(outcome.EndedBy(row.signal)) << outcome.status;
        EXPECT_EQ(outcome.Line("Reason: "), row.reason);
    }
}

TEST(CrashHandlerTest, ManyThreadsThatCrashAtOnceLeaveOneReport) {
    for (const char* const death : {"threads:2", "threads:20", "threads:100"}) {
        for (int round = 0; round < 3; ++round) {
            const Outcome outcome = Child(death, "main").Finish();
            EXPECT_TRUE(outcome.EndedBy(SIGSEGV)) << outcome.status;
            EXPECT_EQ(outcome.Count(head), 1U) << outcome.errors;
            EXPECT_TRUE(Contains(outcome.errors, "\n0 crashd_tests [^ ]* [^ ]*DieByNull"));
        }
    }
}

TEST(CrashHandlerTest, AnyOtherEndTakesTheDaemonAlongWithoutAWord) {
    for (const char* const end : {"return", "exit", "quick", "exec", "worker"}) {
        SCOPED_TRACE(end);
        const Outcome outcome = Child(end, "main").Finish();
        EXPECT_TRUE(WIFEXITED(outcome.status));
        EXPECT_EQ(outcome.errors, firstLine);
        EXPECT_LT(outcome.afterlife, soon / 2);
    }
    for (int round = 0; round < 20; ++round) {
        Child child("wait", "main");
        child.WaitFor("ready\n");
        kill(child.GetProcess(), SIGKILL);
        const Outcome outcome = child.Finish();
        EXPECT_EQ(outcome.errors, firstLine);
        EXPECT_LT(outcome.afterlife, soon / 2);
    }
}

TEST(CrashHandlerTest, HoldsUpUnderTroubles) {
    const struct {
        const char* trouble;
        const char* death;
        int signal;
        std::size_t reports;
        const char* errors;  // a pattern
        const char* output;
    } rows[] = {
        {"callback", "null", SIGSEGV, 0,
         "^crashd_main: Win32!\ncallback: crashd_tests died by signal 11\n$", "set up\n"},
        {"handler before", "null", SIGSEGV, 1, "", "before\n$"},
        {"twice", "null", SIGSEGV, 1, "",
         "3 CrashHandler \\[CrashHandler::Initialize\\] crash handling seems to be initialized "
         "\\(keeping current state\\)\\.\nset up\n"},
        {"no streams", "null", SIGSEGV, 0, "^$", "^$"},
        {"child signal ignored", "null", SIGSEGV, 1, "", "\nset up\n"},
        {"blocked signals", "null", SIGSEGV, 1, "", "\nset up\n"},
        {"no descriptors", "null", SIGSEGV, 1, "Asserts: 0x[0-9A-F]{8}:[a-z_]+:24;|DieByNull", ""},
        {"no memory", "null", SIGSEGV, 1, "\n0 crashd_tests 0x", ""},
        {"copy ends", "null", SIGSEGV, 0, "^Error writing crash data into PIPE!\n$",
         "2 CrashHandler \\[CrashHandler::Initialize\\] (crash daemon never connected to the PIPE! "
         "Crash handling disabled|Crash daemon didn't start running)"},
        {"", "children", 0, 0, "^crashd_main: Win32!\n$", "set up\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.trouble);
        if (isSanitized && std::string(row.trouble).starts_with("no ")) {
            continue;  // the sanitizers' own needs come first
        }
        const Outcome outcome = Child(row.death, "main", row.trouble).Finish();
        EXPECT_TRUE(row.signal == 0 ? outcome.ExitedWith(0) : outcome.EndedBy(row.signal));
        EXPECT_EQ(outcome.Count(head), row.reports) << outcome.errors;
        EXPECT_TRUE(Contains(outcome.errors, row.errors)) << outcome.errors;
        EXPECT_TRUE(Contains(outcome.output, row.output)) << outcome.output;
    }
}

TEST(CrashHandlerTest, LogsItsProgress) {
    const Outcome outcome = Child("return", "main").Finish();
    EXPECT_TRUE(Contains(outcome.output,
                         "^4 CrashHandler \\[CrashHandler::Initialize\\] Successfully started "
                         "crash daemon: PID=[0-9]+: waiting for pipe connection\\.\\.\\.\n"
                         "4 CrashHandler \\[CrashHandler::Initialize\\] Successfully initialized "
                         "crash handling\\.\nset up\n$"))
        << outcome.output;
}

TEST(CrashHandlerTest, AForkOfTheProgramDiesByItselfAlone) {
    const Outcome outcome = Child("fork", "main").Finish();
    EXPECT_TRUE(outcome.ExitedWith(SIGSEGV));
    EXPECT_EQ(outcome.errors, firstLine);
}

TEST(CrashHandlerTest, TheDaemonHasOnlyItsOwnAndHeedsNoPoliteSignal) {
    Child child("wait", "main");
    child.WaitFor("ready\n");
    std::vector<pid_t> orphans = Child::GetOrphans();
    std::erase(orphans, child.GetProcess());
    ASSERT_EQ(orphans.size(), 1U);
    const std::string folder = "/proc/" + std::to_string(orphans[0]);
    std::size_t descriptors = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder + "/fd")) {
        ++descriptors;
        const std::string target = std::filesystem::read_symlink(entry.path());
        EXPECT_TRUE(Contains(target, "^/dev/null$|^pipe:|^anon_inode:\\[pidfd\\]$")) << target;
    }
    EXPECT_EQ(descriptors, 5U);
    EXPECT_NE(getsid(orphans[0]), getsid(0));
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        kill(orphans[0], signal);
    }
    kill(child.GetProcess(), SIGSEGV);
    const Outcome outcome = child.Finish();
    EXPECT_TRUE(outcome.EndedBy(SIGSEGV));
    EXPECT_EQ(outcome.Count(head), 1U) << outcome.errors;
}

TEST(CrashHandlerTest, AKilledDaemonCostsTheProgramNothing) {
    Child child("wait", "main", "no pipe signal");
    child.WaitFor("ready\n");
    std::vector<pid_t> orphans = Child::GetOrphans();
    std::erase(orphans, child.GetProcess());
    ASSERT_EQ(orphans.size(), 1U);
    kill(orphans[0], SIGKILL);
    waitpid(orphans[0], nullptr, 0);
    kill(child.GetProcess(), SIGABRT);
    const Outcome outcome = child.Finish();
    EXPECT_TRUE(outcome.EndedBy(SIGABRT));
    EXPECT_EQ(outcome.errors, firstLine + std::string("Error writing crash data into PIPE!\n"));
}

TEST(CrashHandlerTest, RefusesWhatItCannotUse) {
    EXPECT_FALSE(CrashHandler::Initialize(0, nullptr, nullptr));
    char name[] = "a=b";
    char* arguments[] = {name, nullptr};
    EXPECT_FALSE(CrashHandler::Initialize(1, arguments, nullptr));
    EXPECT_EQ(CrashHandlerCustomExceptionFilter(nullptr), 0);
}

}  // namespace zel::crashtest
