#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Child.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::crashtest {

namespace {

#if defined(ZEL_SANITIZED)
constexpr bool isSanitized = true;
constexpr std::chrono::seconds soon{20};
#else
constexpr bool isSanitized = false;
constexpr std::chrono::seconds soon{2};
#endif

constexpr const char* firstLine = "crashd_main: Win32!\n";

bool Contains(const std::string& text, const std::string& pattern) {
    return std::regex_search(text, std::regex(pattern));
}

struct Row {
    const char* death;
    int signal;
    const char* reason;
    const char* stack;
};

const Row deaths[] = {
    {"null", SIGSEGV, "EXCEPTION_ACCESS_VIOLATION", "0 crashd_tests [^ ]* [^ ]*DieByNull"},
    {"overflow", SIGSEGV, "EXCEPTION_STACK_OVERFLOW", "0 crashd_tests [^ ]* [^ ]*Recurse"},
    {"divide", SIGFPE, "EXCEPTION_INT_DIVIDE_BY_ZERO", "0 crashd_tests [^ ]* [^ ]*DieByDivision"},
    {"bus", SIGBUS, "EXCEPTION_IN_PAGE_ERROR", "0 crashd_tests [^ ]* [^ ]*DieByCutMapping"},
    {"jump", SIGSEGV, "EXCEPTION_ACCESS_VIOLATION",
     "0 \\?{3} 0x00001000 \\?{3} \\(\\?{3}:0\\) \n1 crashd_tests [^ ]* [^ ]*DieByJump"},
    {"smashed", SIGSEGV, "EXCEPTION_ACCESS_VIOLATION",
     "0 crashd_tests [^ ]* [^ ]*DieOnSmashedStack"},
    {"abort", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "0 libc[^]*DieByAbort"},
    {"throw", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "0 libc[^]*DieByThrow"},
    {"pure", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "0 libc[^]*DieByPureCall"},
    {"heap", SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", "0 libc[^]*DieByHeap"},
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
    EXPECT_EQ(outcome.CountReports(), 1U) << outcome.errors;
    EXPECT_FALSE(Contains(outcome.errors, "allocation"));
    EXPECT_EQ(outcome.Line("Exception Caught: "), "(" + std::to_string(row.signal) + ")  ");
    EXPECT_EQ(outcome.Line("Reason: "), row.reason);
    EXPECT_EQ(Contains(outcome.errors, "  what\\(\\):  nobody catches this\n"), death == "throw");
    EXPECT_LT(outcome.afterlife, soon);
    EXPECT_TRUE(Contains(outcome.errors, std::string("Ancillary data:\n") + row.stack))
        << outcome.errors;
    EXPECT_TRUE(Contains(outcome.errors, "\n0 [^ ]* 0x" + outcome.Line("Fault Address: ")));
    EXPECT_FALSE(Contains(outcome.errors, "\n[0-9]+ .*Filter"));
    if (place == "plugin" && death != "smashed" && death != "overflow") {
        EXPECT_TRUE(Contains(outcome.errors, "crash_plugin[^ ]* 0x[^ ]* CallFromPlugin"))
            << outcome.errors;
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
        const Outcome outcome = Child(death, "main").Finish();
        EXPECT_TRUE(outcome.EndedBy(SIGSEGV)) << outcome.status;
        EXPECT_EQ(outcome.CountReports(), 1U) << outcome.errors;
        EXPECT_TRUE(Contains(outcome.errors, "\n0 crashd_tests [^ ]* [^ ]*DieByNull"));
    }
}

TEST(CrashHandlerTest, AnyOtherEndTakesTheDaemonAlongWithoutAWord) {
    for (const char* const end : {"return", "quick", "exec", "worker", "children", "wait"}) {
        SCOPED_TRACE(end);
        Child child(end, "main");
        if (end == std::string("wait")) {
            child.WaitUntilReady();
            child.Kill(SIGKILL);
        }
        const Outcome outcome = child.Finish();
        EXPECT_EQ(outcome.status, end == std::string("wait") ? SIGKILL : 0);
        EXPECT_EQ(outcome.errors, firstLine);
        EXPECT_LT(outcome.afterlife, soon / 2);
    }
}

TEST(CrashHandlerTest, HoldsUpUnderTroubles) {
    const struct {
        const char* trouble;
        const char* death;
        std::size_t reports;
        const char* errors;  // a pattern, as the next
        const char* output;
    } rows[] = {
        {"", "null", 1, "",
         "^4 \\[CrashHandler::Initialize\\] Successfully started crash daemon: PID=[0-9]+: waiting "
         "for pipe connection\\.\\.\\.\n"
         "4 \\[CrashHandler::Initialize\\] Successfully initialized crash handling\\.\n"
         "set up\n$"},
        {"callback", "null", 0, "^crashd_main: Win32!\ncallback: crashd_tests died by signal 11\n$",
         ""},
        {"handler before", "null", 1, "", "set up\nbefore\n$"},
        {"twice", "null", 1, "",
         "3 \\[CrashHandler::Initialize\\] crash handling seems to be initialized \\(keeping "
         "current state\\)\\.\nset up\n"},
        {"long name", "null", 1, "\nProgram Name: n{19}\n", ""},
        {"", "fork", 0, "^crashd_main: Win32!\n$", ""},
        {"no streams", "null", 0, "^$", "^$"},
        {"no descriptors", "null", 1, "\n0 crashd_tests 0x", ""},
        {"no memory", "null", 1, "\n0 crashd_tests 0x", ""},
        {"copy ends", "null", 0, "^(Error writing crash data into PIPE!\n)?$",
         "2 \\[CrashHandler::Initialize\\] (crash daemon never connected to the PIPE! Crash "
         "handling disabled\\.|Crash daemon didn't start running!)\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.trouble);
        if (isSanitized && std::string(row.trouble).starts_with("no ")) {
            continue;  // the sanitizers' own needs come first
        }
        const Outcome outcome = Child(row.death, "main", row.trouble).Finish();
        EXPECT_TRUE(outcome.EndedBy(SIGSEGV)) << outcome.status;
        EXPECT_EQ(outcome.CountReports(), row.reports) << outcome.errors;
        EXPECT_TRUE(Contains(outcome.errors, row.errors)) << outcome.errors;
        EXPECT_TRUE(Contains(outcome.output, row.output)) << outcome.output;
    }
}

TEST(CrashHandlerTest, TheDaemonHasOnlyItsOwnAndHeedsNoPoliteSignal) {
    Child child("wait", "main");
    child.WaitUntilReady();
    const pid_t daemon = child.FindDaemon();
    std::string descriptors;
    const std::string folder = "/proc/" + std::to_string(daemon) + "/fd/";
    for (const char* const entry : {"0", "1", "2", "3", "4", "5"}) {
        std::error_code missing;
        descriptors += std::filesystem::read_symlink(folder + entry, missing).string() + ' ';
    }
    EXPECT_TRUE(Contains(descriptors, "^(/dev/null ){2}(pipe:\\S+ ){2}\\S*pidfd\\S*  $"))
        << descriptors;
    EXPECT_NE(getsid(daemon), getsid(0));
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        kill(daemon, signal);
    }
    child.Kill(SIGSEGV);
    const Outcome outcome = child.Finish();
    EXPECT_TRUE(outcome.EndedBy(SIGSEGV));
    EXPECT_EQ(outcome.CountReports(), 1U) << outcome.errors;
}

TEST(CrashHandlerTest, AKilledDaemonCostsTheProgramNothing) {
    Child child("wait", "main");
    child.WaitUntilReady();
    const pid_t daemon = child.FindDaemon();
    kill(daemon, SIGKILL);
    waitpid(daemon, nullptr, 0);
    child.Kill(SIGABRT);
    const Outcome outcome = child.Finish();
    EXPECT_TRUE(outcome.EndedBy(SIGABRT));
    EXPECT_EQ(outcome.errors, firstLine + std::string("Error writing crash data into PIPE!\n"));
}

TEST(CrashHandlerTest, RefusesWhatItCannotUse) {
    char name[] = "a=b";
    char* arguments[] = {name, nullptr};
    EXPECT_FALSE(CrashHandler::Initialize(0, arguments, nullptr));
    EXPECT_FALSE(CrashHandler::Initialize(1, arguments, nullptr));
    EXPECT_EQ(CrashHandlerCustomExceptionFilter(nullptr), 0);
}

}  // namespace zel::crashtest
