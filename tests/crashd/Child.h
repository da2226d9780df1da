#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace zel::crashtest {

// What is left of a victim and its daemon.
struct Outcome {
    int status = 0;
    std::string output;
    std::string errors;
    std::chrono::duration<double> afterlife = {};  // of the daemon

    bool EndedBy(int signal) const;
    std::size_t CountReports() const;
    // What the report's line of that beginning goes on with.
    std::string Line(std::string_view beginning) const;
};

// Runs this program again as a victim, its streams on pipes. A process has one at a time.
class Child {
public:
    Child(const std::string& death, const std::string& place, const std::string& trouble = "");
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Waits until a victim that dies by "wait" is ready for it.
    void WaitUntilReady();

    void Kill(int signal) const;

    // The process that it has left to this one; for a ready victim, its daemon.
    pid_t FindDaemon() const;

    // Waits until it and all that it has started are gone.
    Outcome Finish();

private:
    pid_t m_process = 0;
    int m_streams[3] = {-1, -1, -1};
    std::string m_output;
};

}  // namespace zel::crashtest
