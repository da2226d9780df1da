// Allocates the given number of MiB, sets up crash handling, prints how many milliseconds that
// took, waits for a byte and faults. With the argument "alone" it walks its stack by itself.

#include "zel/crashd/CrashHandler.h"

#include "bench/crashd/Fault.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

// The same walk as ours, without a daemon.
void WalkAndEnd(int signal, siginfo_t*, void* context) {
    static zel::zel_crash_msg_s s_record;
    zel::ZelStackWalker(0, nullptr, 0, &s_record).ShowCallstack(nullptr, context);
    static_cast<void>(write(STDERR_FILENO, s_record.ancillary, sizeof(s_record.ancillary)));
    std::signal(signal, SIG_DFL);
}

void SetUpAlone() {
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = WalkAndEnd;
    sigaction(SIGSEGV, &action, nullptr);
    zel::StackWalker().LoadModules();
    std::cout << 'r' << std::flush;
}

}  // namespace

int main(int argc, char** argv) {
    if (argv[1] == std::string("alone")) {
        SetUpAlone();
        zel::bench::FaultOnDemand();
    }
    constexpr std::size_t mebibyte = 1 << 20;
    std::vector<char> memory;
    // The helper process doesn't need the memory.
    if (std::getenv("crashd_bench_victim_SHOULD_START_DAEMON_") == nullptr) {
        memory.assign(std::stoul(argv[1]) * mebibyte, 1);
        // The start of any process takes longer after that, because the caches are cold.
        static_cast<void>(std::system("true"));
    }
    const auto start = std::chrono::steady_clock::now();
    const bool isSetUp = zel::CrashHandler::Initialize(argc, argv, nullptr);
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start;
    std::cout << (isSetUp ? taken.count() : -1) << 'r' << std::flush;
    zel::bench::FaultOnDemand();
}
