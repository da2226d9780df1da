#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Expectation.h"
#include "tests/support/linux/FindOrphan.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <tuple>
#include <utility>

namespace zel::crashtest {

namespace {

const std::string first = "0 crashd_tests \\S+ \\S*";
const std::string dying = "0 crashd_tests [^]*DieAsRequested";
const std::string runtime = "0 libc[^]*crashd_tests [^]*DieAsRequested";
const std::string violation = "EXCEPTION_ACCESS_VIOLATION";
const std::string report = ReportOf(SIGSEGV, violation, first + "WriteToNowhere");
const std::string overflowReport = ReportOf(SIGSEGV, "EXCEPTION_STACK_OVERFLOW", first + "Recurse");
const std::string abortReport = ReportOf(SIGABRT, "EXCEPTION_NONCONTINUABLE_EXCEPTION", runtime);

}  // namespace

const std::vector<Row> DEATHS = {
    {"null", SIGSEGV, ReportOf(SIGSEGV, violation, first + "WriteToNowhere[^]*DieAsRequested")},
    {"overflow", SIGSEGV, overflowReport},
    {"division", SIGFPE, ReportOf(SIGFPE, "EXCEPTION_INT_DIVIDE_BY_ZERO", dying)},
    {"cut", SIGBUS, ReportOf(SIGBUS, "EXCEPTION_IN_PAGE_ERROR", dying)},
    {"jump", SIGSEGV,
     ReportOf(SIGSEGV, violation,
              "0 \\?{3} 0x00001000 \\?{3} \\(\\?{3}:0\\) \n1 crashd_tests [^]*DieAsRequested")},
    {"smashed", SIGSEGV, ReportOf(SIGSEGV, violation, first + "SmashStack")},
    {"abort", SIGABRT, abortReport},
    {"throw", SIGABRT, "  what\\(\\):  nobody catches this\n[^]*" + abortReport},
    {"heap", SIGABRT, abortReport},
};

const std::vector<std::string> THREADS = {"thread", "native thread", "unprotected"};

namespace {

TEST(CrashHandlerTest, ReportsTheKindOfEachSignal) {
    const std::tuple<int, int, std::string> rows[] = {
        {SIGBUS, BUS_ADRALN, "EXCEPTION_DATATYPE_MISALIGNMENT"},
        {SIGFPE, FPE_INTOVF, "EXCEPTION_INT_OVERFLOW"},
        {SIGFPE, FPE_FLTSUB, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
        {SIGFPE, SI_USER, "Unknown Exception"},
        {SIGILL, ILL_ILLOPC, "EXCEPTION_ILLEGAL_INSTRUCTION"},
        {SIGILL, ILL_PRVOPC, "EXCEPTION_PRIV_INSTRUCTION"},
        {SIGTRAP, TRAP_BRKPT, "EXCEPTION_BREAKPOINT"},
        {SIGTRAP, TRAP_TRACE, "EXCEPTION_SINGLE_STEP"},
        {SIGSYS, 1, "Unknown Exception"},
        {SIGSEGV, SI_USER, violation},
    };
    for (const auto& [signal, kind, reason] : rows) {
        Expect({"signal:" + std::to_string(signal) + ':' + std::to_string(kind), signal,
                ReportOf(signal, reason, "0 libc")});
    }
}

const std::string nothing = "^crashd_main: Win32!\n$";
const std::string unsent = "^(crashd_main: Win32!\n)?Error writing crash data into PIPE!\n$";
const std::string failure =
    "\n2 CrashHandler \\[CrashHandler::Initialize\\] (crash daemon never connected to the PIPE! "
    "Crash handling disabled\\.|Crash daemon didn't start running!)\nnot set up\n";
const std::string progress = "\n4 CrashHandler \\[CrashHandler::Initialize\\] ";
const std::string called = "!\ncallback: crashd_tests died by signal 11\n$";
// The loader's symbols are in memory, so these shapes don't affect them.
#if defined(ZEL_LOADER_SYMBOLS)
const std::string nameless = report;
const std::string unread = report;
#else
const std::string nameless = "\n0 crashd_tests 0x\\w+ \\+0x";
const std::string unread =
    "\nAsserts: \\w+:libbacktrace:125;\n[^]*\n" + first +
    "WriteToNowhere[^]*\n[0-9]+ left_plugin\\.so 0x\\w+ \\+0x\\w+ \\(\\?{3}:0\\) \n"
    "[0-9]+ crashd_tests \\w+ \\S*DieInPlugin";
#endif

const Row shapes[] = {
    // Ends without a crash.
    {"exec", 0, nothing},
    {"left worker", 0, nothing},
    {"children", 0, nothing},
    {"kill", SIGKILL, nothing},
    {"fork", SIGSEGV, nothing},
    // Calls of Initialize.
    {"null", SIGSEGV, report,
     '^' + progress +
         "Successfully started crash daemon: PID=[0-9]+: waiting for pipe connection\\.{3}" +
         progress +
         "Successfully initialized crash handling\\.\n"
         "3 CrashHandler \\[CrashHandler::Initialize\\] crash handling seems to be initialized "
         "\\(keeping current state\\)\\.\nset up\n",
     "twice"},
    {"null", SIGSEGV, "\nProgram Name: n{19}\n", "", "long name"},
    {"null", SIGSEGV, "^$", "^$", "no streams"},
    {"null", SIGSEGV, "^running\n(Error writing crash data into PIPE!\n)?$", failure, "own number"},
    {"null", 0, "^(?:crashd_main: Win32!\n){2}[^]*" + report, "\nset up again\n", "daemonised"},
    // Crashes of several threads, and in programs without resources.
    {"threads:100", SIGSEGV, report},
    {"null", SIGSEGV, nameless, "", "no descriptors"},
    {"null", SIGSEGV, nameless, "", "no memory"},
    {"null", SIGSEGV, report, "", "", "small stack"},
    {"null", SIGSEGV, report, "", "trapped timers"},
    {"null", SIGSEGV, report, "", "refused timers"},
    {"null", SIGSEGV, unsent, "", "reused descriptors"},
    // Libraries that can't be read in time.
    {"null", SIGSEGV, unread, "", "", "unreadable plugin"},
    {"null", SIGSEGV, unread, "", "", "signal wait"},
    // A worker that was started before Initialize.
    {"return", 0, nothing, "", "worker"},
    {"null", SIGSEGV, called, "", "worker"},
    // Handlers that were installed before.
    {"null", SIGSEGV, report, "set up\n\nbefore\n$", "handler before"},
    {"null", SIGSEGV, report, "", "handler gives up"},
    {"abort", SIGABRT, abortReport, "set up\n\nbefore\n$", "handler of abort"},
    {"overflow", SIGSEGV, overflowReport, "\nrecovered\n$", "recovering"},
    {"abort", SIGABRT, abortReport, "\nignored\n$", "ignored abort"},
};

TEST(CrashHandlerTest, ReportsProgramsOfEveryShapeOnceAndNoOtherEnd) {
    for (const Row& row : shapes) {
        // The sanitizers' own needs and signal handlers come first, and they defer the time
        // limit's.
        const bool isStarved =
            row.shape.starts_with("no ") || row.shape.ends_with(" timers") || row.place != "main";
        if (!isSanitized || !isStarved) {
            Expect(row);
        }
    }
}

TEST(CrashHandlerTest, WritesEveryFrameThatFits) {
    constexpr std::size_t almostFull = sizeof(zel_crash_msg_s::ancillary) - 3;
    for (const int depth : {20, 40, 91, 3000}) {
        const Outcome outcome = Child("deep:" + std::to_string(depth), "main").Finish();
        SCOPED_TRACE(std::to_string(depth) + '\n' + outcome.errors);
        const std::string start = "Ancillary data:\n";
        const std::size_t frames = outcome.errors.find(start) + start.size();
        const bool isFull = outcome.errors.size() - frames > almostFull;
        EXPECT_TRUE(isFull || Contains(outcome.errors, " _?_?libc_start_\\S+ |_start "));
        EXPECT_EQ(isFull, depth > 40);
        const std::string last = std::to_string(std::min(depth, 70)) + " crashd_tests 0x";
        EXPECT_NE(outcome.errors.find('\n' + last), std::string::npos) << last;
    }
}

// The binary form of "cap_net_bind_service=ep".
constexpr unsigned char capabilities[20] = {1, 0, 0, 2, 0, 4};

TEST(CrashHandlerTest, TheDaemonDropsFileCapabilities) {
    const test::TemporaryFolder folder("/tmp");
    const std::string program = folder / "crashd_tests";
    std::filesystem::copy_file("/proc/self/exe", program);
    std::filesystem::permissions(folder / "", std::filesystem::perms(0755));
    if (getuid() != 0 || setxattr(program.c_str(), "security.capability", capabilities,
                                  sizeof(capabilities), 0) != 0) {
        GTEST_SKIP() << "only root can set file capabilities";
    }
    Child child({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", program, VICTIM,
                 "wait", "main", ""});
    child.WaitUntilReady();
    for (const auto& [process, expected] : {std::pair{child.GetId(), "0000000000000400"},
                                            {test::FindOrphan(child), "0000000000000000"}}) {
        std::ostringstream status;
        status << std::ifstream("/proc/" + std::to_string(process) + "/status").rdbuf();
        EXPECT_TRUE(Contains(status.str(), std::string("\nCapPrm:\t") + expected)) << status.str();
    }
    kill(child.GetId(), SIGABRT);
    EXPECT_EQ(child.Finish().CountReports(), 1);
}

TEST(CrashHandlerTest, TheDaemonIsTheLoggedProcessAndOutlivesTerminationSignals) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGKILL}) {
        Child child("wait", "main");
        const std::string log = child.WaitUntilReady();
        const pid_t daemon = test::FindOrphan(child);
        EXPECT_TRUE(Contains(log, "PID=" + std::to_string(daemon) + ": ")) << daemon << log;
        EXPECT_NE(getsid(daemon), getsid(0));
        std::string descriptors;
        for (const auto& entry :
             std::filesystem::directory_iterator("/proc/" + std::to_string(daemon) + "/fd")) {
            std::error_code closed;
            descriptors += std::filesystem::read_symlink(entry, closed).string() + ' ';
        }
        EXPECT_TRUE(Contains(descriptors, "^(/dev/null ){2}(pipe:\\S+ ){2}\\S* ?\\S*pidfd\\S* $"))
            << descriptors;
        kill(daemon, signal);
        // The loss of the daemon has no other effect on the program.
        const bool isLost = signal == SIGKILL && waitpid(daemon, nullptr, 0) == daemon;
        kill(child.GetId(), SIGABRT);
        const Outcome outcome = child.Finish();
        SCOPED_TRACE(std::to_string(signal) + outcome.errors);
        EXPECT_TRUE(outcome.EndedBy(SIGABRT));
        EXPECT_EQ(outcome.CountReports(), isLost ? 0 : 1);
        EXPECT_EQ(outcome.errors.ends_with("!\nError writing crash data into PIPE!\n"), isLost);
    }
}

}  // namespace

}  // namespace zel::crashtest
