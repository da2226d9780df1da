// Allocates the given number of MiB, sets up crash handling, prints how many milliseconds that
// took, waits for a byte and faults.

#include "zel/crashd/CrashHandler.h"

#include "bench/crashd/Fault.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
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
