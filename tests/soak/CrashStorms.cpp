#include "tests/crashd/Victim.h"

#include <csignal>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <sys/prctl.h>
#include <thread>

// Ten thousand programs that crash, some on many threads at once, leave one report each. The
// daemons of 500 killed programs exit within a second. A waiting daemon isn't woken in ten seconds.

namespace {

using zel::crashtest::Child;
using zel::crashtest::Outcome;

const struct {
    const char* death;
    int signal;
    int rounds;
} s_storms[] = {{"null", SIGSEGV, 5000},      {"throw", SIGABRT, 2000},
                {"abort", SIGABRT, 1000},     {"division", SIGFPE, 1000},
                {"overflow", SIGSEGV, 700},   {"threads:2", SIGSEGV, 100},
                {"threads:20", SIGSEGV, 100}, {"threads:100", SIGSEGV, 100}};
constexpr int KILLS = 500;
constexpr std::chrono::seconds IDLE{10};

bool AllReportOnce() {
    int missed = 0;
    for (const auto& storm : s_storms) {
        int reported = 0;
        for (int round = 0; round < storm.rounds; ++round) {
            const Outcome outcome = Child(storm.death, "main").Finish();
            reported += outcome.EndedBy(storm.signal) && outcome.CountReports() == 1 ? 1 : 0;
        }
        std::cout << reported << " of " << storm.rounds << " deaths by " << storm.death
                  << " are reported once" << std::endl;
        missed += storm.rounds - reported;
    }
    return missed == 0;
}

bool AllDaemonsExit() {
    int exited = 0;
    for (int i = 0; i < KILLS; ++i) {
        Child child("wait", "main");
        child.WaitUntilReady();
        child.Kill();
        const Outcome outcome = child.Finish();
        exited +=
            outcome.CountReports() == 0 && outcome.afterlife < std::chrono::seconds(1) ? 1 : 0;
    }
    std::cout << exited << " of " << KILLS << " daemons exit with their killed programs\n";
    return exited == KILLS;
}

long CountContextSwitches(pid_t process) {
    std::ifstream in("/proc/" + std::to_string(process) + "/status");
    long sum = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.find("voluntary_ctxt_switches:") != std::string::npos) {
            sum += std::stol(line.substr(line.find('\t')));
        }
    }
    return sum;
}

bool WaitsAsleep() {
    Child child("wait", "main");
    child.WaitUntilReady();
    const pid_t daemon = zel::test::FindOrphan(child);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const long before = CountContextSwitches(daemon);
    std::this_thread::sleep_for(IDLE);
    const long switches = CountContextSwitches(daemon) - before;
    child.Kill();
    child.Finish();
    std::cout << switches << " context switches of a daemon that waits for ten seconds\n";
    return switches == 0 && before > 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], zel::crashtest::VICTIM) == 0) {
        return zel::crashtest::RunVictim(argc, argv);
    }
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const bool isQuiet = AllDaemonsExit() && WaitsAsleep();
    return AllReportOnce() && isQuiet ? 0 : 1;
}
