#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace zel::crashtest {

// What is left of a child process.
struct Outcome {
    int status = 0;
    std::string output;
    std::string errors;                            // with what its daemon wrote
    std::chrono::duration<double> afterlife = {};  // of the daemon

    bool EndedBy(int signal) const;
    bool ExitedWith(int code) const;
    std::size_t Count(std::string_view text) const;
    // What the report's line of that beginning goes on with; empty if there is none.
    std::string Line(std::string_view beginning) const;
};

// A child of this process, its streams on pipes.
class Child {
public:
    // Runs `work` in a fork of this process.
    explicit Child(const std::function<void()>& work);

    // Runs this program again as a victim.
    Child(const std::string& death, const std::string& place, const std::string& trouble = "");

    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t GetProcess() const { return m_process; }

    // Waits for a text on its standard output.
    void WaitFor(std::string_view text);

    // The processes that it has left to this one, waiting for their end; for a victim, its daemon.
    static std::vector<pid_t> GetOrphans();

    // Waits until it and all that it has started are gone.
    Outcome Finish();

private:
    void Start(const std::function<void()>& work);

    pid_t m_process = 0;
    int m_input = -1;
    int m_output = -1;
    int m_errors = -1;
    std::string m_read;
};

}  // namespace zel::crashtest
