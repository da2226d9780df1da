#pragma once

#include "tests/support/ChildProcess.h"

#include <chrono>
#include <string>

namespace zel::bench {

// A process that is there to die. All that it leaves behind is waited for.
class Process : public test::ChildProcess {
public:
    using ChildProcess::ChildProcess;

    ~Process() {
        Kill(SIGKILL);
        Wait();
        while (::wait(nullptr) > 0) {
        }
    }

    // Lets it fault, by FaultOnDemand: how many milliseconds later nobody holds its standard error
    // any more.
    double MeasureDeath(std::string& errors) const {
        using Clock = std::chrono::steady_clock;
        Write("f");
        const Clock::time_point start(Clock::duration(std::stoll(ReadUntil("\n"))));
        errors = ReadAll(STDERR_FILENO);
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    }
};

}  // namespace zel::bench
