#pragma once

#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace zel::bench {

// A fault ten calls deep, for both sides of a comparison.
[[gnu::noinline]] inline int Fault(int depth, volatile int* nowhere) {
    if (depth > 0) {
        return Fault(depth - 1, nowhere) + 1;
    }
    return *nowhere;
}

// Waits for a byte on standard input, prints the time on standard output and faults.
inline void FaultOnDemand() {
    char byte = 0;
    if (read(STDIN_FILENO, &byte, 1) != 1) {
        return;
    }
    constexpr int depth = 10;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    dprintf(STDOUT_FILENO, "%lld\n", static_cast<long long>(now));
    Fault(depth, nullptr);
}

}  // namespace zel::bench
