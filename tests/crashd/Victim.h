#pragma once

#include "tests/crashd/System.h"
#include "tests/support/ChildProcess.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <regex>

namespace zel::crashtest {

// The first argument that makes a program of these tests a victim.
inline constexpr const char* VICTIM = "--victim";

// Sets up crash handling and ends this process as the next arguments say: the death, its place, and
// the program's shape. A helper process that is started as its daemon runs this as well.
int RunVictim(int argc, char** argv);

// The results of a victim and its daemon.
struct Outcome {
    int status = 0;
    std::string output;
    std::string errors;
    std::chrono::duration<double> afterlife = {};  // of the daemon

    // The end is the negated status, on Linux a signal.
    bool EndedBy(int end) const { return status == -end; }

    std::ptrdiff_t CountReports() const {
        const std::regex head("\\|     Program Crash Report     \\|");
        return std::distance(std::sregex_iterator(errors.begin(), errors.end(), head), {});
    }
};

// Runs this program as a victim. The calling process is a subreaper and has one victim at a time.
class Child : public test::ChildProcess {
public:
    using ChildProcess::ChildProcess;

    Child(const std::string& death, const std::string& place, const std::string& shape = "")
        : ChildProcess({test::OwnProgram(), VICTIM, death, place, shape}) {}

    // Waits until crash handling is set up, and returns the log.
    std::string WaitUntilReady() const { return ReadUntil("\nset up\n"); }

    // Waits for the end of the victim and of all processes that it has started.
    Outcome Finish() {
        Outcome outcome;
        outcome.status = Wait();
        const auto end = std::chrono::steady_clock::now();
        outcome.errors = ReadAll(ERRORS);
        outcome.afterlife = std::chrono::steady_clock::now() - end;
        CloseInput();
        outcome.output = ReadAll(OUTPUT);
        WaitForOrphans();
        return outcome;
    }
};

}  // namespace zel::crashtest
