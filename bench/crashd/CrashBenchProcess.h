#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

namespace zel::bench {

// A process that is there to die, its streams on pipes.
class Process {
public:
    // Runs `work` in a fork of this process.
    explicit Process(const std::function<void()>& work);

    // Runs a program.
    Process(const char* program, const char* argument);

    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // What it writes to standard output up to an "r".
    std::string WaitUntilReady();

    // Lets it fault: how many milliseconds later nobody holds its standard error any more.
    double MeasureDeath(std::string& errors);

    // The process that it has left to this one.
    pid_t FindOrphan() const;

    pid_t GetNumber() const { return m_number; }

private:
    pid_t m_number;
    int m_streams[3];
};

}  // namespace zel::bench
