#pragma once

#include "bench/support/Comparison.h"
#include "tests/support/ChildProcess.h"

#include <chrono>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace zel::bench {

// A process that crashes. Its destructor waits for all processes it has left.
class Process : public test::ChildProcess {
public:
    using ChildProcess::ChildProcess;

    ~Process() {
        Kill();
        Wait();
        while (::wait(nullptr) > 0) {
        }
    }

    // Makes it fault, by FaultOnDemand, and returns the milliseconds until the last process has
    // closed its standard error.
    double MeasureCrash(std::string& errors) const {
        using Clock = std::chrono::steady_clock;
        Write("f");
        const Clock::time_point start(Clock::duration(std::stoll(ReadUntil("\n"))));
        errors = ReadAll(ERRORS);
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    }
};

// Measures from a fault in a program to the end of all its processes.
inline void MeasureCrashes(benchmark::State& state, const std::vector<std::string>& program) {
    double sum = 0;
    for (auto _ : state) {
        Process victim(program);
        victim.ReadUntil("r");
        std::string errors;
        sum += victim.MeasureCrash(errors);
        Require(errors.find("Fault") != std::string::npos,
                "the victim's stack is reported: " + errors);
    }
    state.counters["ms"] = benchmark::Counter(sum, benchmark::Counter::kAvgIterations);
}

}  // namespace zel::bench
