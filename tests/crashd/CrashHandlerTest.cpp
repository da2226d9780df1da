#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Child.h"

#include <gtest/gtest.h>

namespace zel::crashtest {

namespace {

#if defined(ZEL_SANITIZED)
constexpr bool isSanitized = true;
constexpr std::chrono::seconds soon{20};
#else
constexpr bool isSanitized = false;
constexpr std::chrono::seconds soon{2};
#endif

bool Contains(const std::string& text, const std::string& pattern) {
    return std::regex_search(text, std::regex(pattern));
}

struct Row {
    std::string death;
    int signal;          // 0 for an end without one
    std::string errors;  // a pattern, as the next
    std::string output = "";
    std::string trouble = "";
};

void Expect(const Row& row, const std::string& place) {
    const Outcome outcome = Child(row.death, place, row.trouble).Finish();
    SCOPED_TRACE(row.death + row.trouble + '\n' + outcome.output + outcome.errors);
    EXPECT_EQ(outcome.status & ~0x80, row.signal);
    EXPECT_LE(outcome.CountReports(), 1);
    EXPECT_LT(outcome.afterlife, soon);
    EXPECT_TRUE(Contains(outcome.errors, row.errors)) << row.errors;
    EXPECT_TRUE(Contains(outcome.output, row.output)) << row.output;
    EXPECT_FALSE(Contains(outcome.errors, "allocation|\n[0-9]+ .*Filter"));
}

// The fault's address is that of the first function. Sanitizers slow the walk so much that on a
// busy machine its limit of time may end it behind that.
std::string ReportOf(int signal, const std::string& reason, const std::string& functions) {
    return "\nException Caught: \\(" + std::to_string(signal) + "\\)  \nReason: " + reason +
           "\nFault Address: (\\w{8})\n[^]*\nAncillary data:\n(?=0 \\S+ 0x\\1 )" +
           (isSanitized ? "" : functions);
}

const std::string first = "0 crashd_tests \\S+ \\S*";
const std::string ours = "0 crashd_tests [^]*DieAsTold";
const std::string unknown =
    "0 \\?{3} 0x00001000 \\?{3} \\(\\?{3}:0\\) \n1 crashd_tests [^]*DieAsTold";
const std::string runtime = "0 libc[^]*crashd_tests [^]*DieAsTold";
const std::string text = "  what\\(\\):  nobody catches this\n[^]*";
const std::string violation = "EXCEPTION_ACCESS_VIOLATION";
const std::string noncontinuable = "EXCEPTION_NONCONTINUABLE_EXCEPTION";

const Row deaths[] = {
    {"null", SIGSEGV, ReportOf(SIGSEGV, violation, first + "WriteToNowhere[^]*DieAsTold")},
    {"overflow", SIGSEGV, ReportOf(SIGSEGV, "EXCEPTION_STACK_OVERFLOW", first + "Recurse")},
    {"division", SIGFPE, ReportOf(SIGFPE, "EXCEPTION_INT_DIVIDE_BY_ZERO", ours)},
    {"cut", SIGBUS, ReportOf(SIGBUS, "EXCEPTION_IN_PAGE_ERROR", ours)},
    {"jump", SIGSEGV, ReportOf(SIGSEGV, violation, unknown)},
    {"smashed", SIGSEGV, ReportOf(SIGSEGV, violation, first + "SmashStack")},
    {"abort", SIGABRT, ReportOf(SIGABRT, noncontinuable, runtime)},
    {"throw", SIGABRT, text + ReportOf(SIGABRT, noncontinuable, runtime)},
    {"pure", SIGABRT, ReportOf(SIGABRT, noncontinuable, runtime)},
    {"heap", SIGABRT, ReportOf(SIGABRT, noncontinuable, runtime)},
};

// The sanitizers find some first, a thread that has no stack to report on dies without a word when
// its own is gone, and a Thread survives what is thrown.
bool IsOutOfReach(const std::string& death, const std::string& place) {
    return (isSanitized && (death == "heap" || death == "smashed")) ||
           (place == "unprotected" && (death == "overflow" || death == "smashed")) ||
           (place == "thread" && death == "throw");
}

class DeathTest : public testing::TestWithParam<const char*> {};

TEST_P(DeathTest, EveryDeathLeavesOneReportAndEndsByItsOwnSignal) {
    const bool isPlugin = GetParam() == std::string("plugin");
    for (Row row : deaths) {
        if (isPlugin && row.death != "overflow" && row.death != "smashed") {
            row.errors += "[^]*crash_plugin\\S* 0x\\S+ CallFromPlugin";
        }
        if (!IsOutOfReach(row.death, GetParam())) {
            Expect(row, GetParam());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Places, DeathTest,
                         testing::Values("main", "thread", "foreign", "unprotected", "plugin",
                                         "destructor"),
                         [](const auto& place) { return place.param; });

// A fault as the kernel would tell it.
Row Fault(int signal, int kind, const std::string& reason) {
    return {"signal:" + std::to_string(signal) + ':' + std::to_string(kind), signal,
            ReportOf(signal, reason, "0 libc")};
}

TEST(CrashHandlerTest, TellsTheKindOfEachSignal) {
    const Row rows[] = {
        Fault(SIGBUS, BUS_ADRALN, "EXCEPTION_DATATYPE_MISALIGNMENT"),
        Fault(SIGFPE, FPE_INTOVF, "EXCEPTION_INT_OVERFLOW"),
        Fault(SIGFPE, FPE_FLTDIV, "EXCEPTION_FLT_DIVIDE_BY_ZERO"),
        Fault(SIGFPE, FPE_FLTSUB, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"),
        Fault(SIGFPE, SI_USER, "Unknown Exception"),
        Fault(SIGILL, ILL_ILLOPC, "EXCEPTION_ILLEGAL_INSTRUCTION"),
        Fault(SIGILL, ILL_PRVOPC, "EXCEPTION_PRIV_INSTRUCTION"),
        Fault(SIGTRAP, TRAP_BRKPT, "EXCEPTION_BREAKPOINT"),
        Fault(SIGTRAP, TRAP_TRACE, "EXCEPTION_SINGLE_STEP"),
        Fault(SIGSYS, 1, "Unknown Exception"),
        Fault(SIGSEGV, SI_USER, violation),
    };
    for (const Row& row : rows) {
        Expect(row, "main");
    }
}

TEST(CrashHandlerTest, HoldsUpUnderTroublesAndLeavesNoWordOfAnyOtherEnd) {
    const std::string nothing = "^crashd_main: Win32!\n$";
    const std::string failure = "\n2 CrashHandler \\[CrashHandler::Initialize\\] ";
    const std::string progress = "\n4 CrashHandler \\[CrashHandler::Initialize\\] ";
    const std::string report = ReportOf(SIGSEGV, violation, first + "WriteToNowhere");
    const std::string nameless = "\n0 crashd_tests 0x";
    const Row rows[] = {
        {"return", 0, nothing},
        {"quick", 0, nothing},
        {"exec", 0, nothing},
        {"worker", 0, nothing},
        {"children", 0, nothing},
        {"kill", SIGKILL, nothing},
        {"fork", SIGSEGV, nothing},
        {"threads:2", SIGSEGV, report},
        {"threads:100", SIGSEGV, report},
        {"null", SIGSEGV, report,
         '^' + progress +
             "Successfully started crash daemon: PID=[0-9]+: waiting for pipe connection\\.{3}" +
             progress + "Successfully initialized crash handling\\.\nset up\n$"},
        {"null", SIGSEGV, report,
         "\n3 CrashHandler \\[CrashHandler::Initialize\\] crash handling seems to be initialized "
         "\\(keeping current state\\)\\.\nset up\n$",
         "twice"},
        {"null", SIGSEGV, report, "set up\nbefore\n$", "handler before"},
        {"null", SIGSEGV, "!\ncallback: crashd_tests died by signal 11\n$", "", "callback"},
        {"null", SIGSEGV, "\nProgram Name: n{19}\n", "", "long name"},
        {"null", SIGSEGV, "^$", "^$", "no streams"},
        {"null", SIGSEGV, nameless, "", "no descriptors"},
        {"null", SIGSEGV, nameless, "", "no memory"},
        {"null", SIGSEGV, "^(Error writing crash data into PIPE!\n)?$",
         failure + "(crash daemon never connected to the PIPE! Crash handling disabled\\.|"
                   "Crash daemon didn't start running!)\nnot set up\n$",
         "copy ends"},
    };
    for (const Row& row : rows) {
        // The sanitizers' own needs come first.
        if (!isSanitized || !row.trouble.starts_with("no ")) {
            Expect(row, "main");
        }
    }
}

TEST(CrashHandlerTest, TheDaemonHasOnlyItsOwn) {
    Child child("wait", "main");
    child.WaitUntilReady();
    const pid_t daemon = child.FindOrphan();
    std::string descriptors;
    for (const char* const entry : {"0", "1", "2", "3", "4", "5"}) {
        std::error_code missing;
        const std::string path = "/proc/" + std::to_string(daemon) + "/fd/" + entry;
        descriptors += std::filesystem::read_symlink(path, missing).string() + ' ';
    }
    EXPECT_TRUE(Contains(descriptors, "^(/dev/null ){2}(pipe:\\S+ ){2} \\S*pidfd\\S* $"))
        << descriptors;
    EXPECT_NE(getsid(daemon), getsid(0));
    child.Kill(SIGKILL);
    child.Finish();
}

TEST(CrashHandlerTest, TheDaemonHeedsNoPoliteSignalAndItsLossCostsTheProgramNothing) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGKILL}) {
        Child child("wait", "main");
        child.WaitUntilReady();
        const pid_t daemon = child.FindOrphan();
        kill(daemon, signal);
        const bool isLost = signal == SIGKILL && waitpid(daemon, nullptr, 0) == daemon;
        child.Kill(SIGABRT);
        const Outcome outcome = child.Finish();
        EXPECT_TRUE(outcome.EndedBy(SIGABRT));
        EXPECT_EQ(outcome.CountReports(), isLost ? 0 : 1);
        EXPECT_EQ(outcome.errors.ends_with("!\nError writing crash data into PIPE!\n"), isLost);
    }
}

TEST(CrashHandlerTest, RefusesWhatItCannotUse) {
    char name[] = "a=b";
    char* arguments[] = {name, nullptr};
    EXPECT_FALSE(CrashHandler::Initialize(0, arguments, nullptr));
    EXPECT_FALSE(CrashHandler::Initialize(1, arguments, nullptr));
    EXPECT_EQ(CrashHandlerCustomExceptionFilter(nullptr), 0);
}

}  // namespace

}  // namespace zel::crashtest
