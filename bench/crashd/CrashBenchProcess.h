#pragma once

#include "tests/support/ChildProcess.h"

#include <chrono>
#include <string>
#include <sys/wait.h>

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

}  // namespace zel::bench
