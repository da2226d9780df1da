#include "bench/process/Processes.h"

#include "zel/process/ProcessUtils.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zel::bench {

namespace {

std::size_t CountProcesses() {
    std::list<RCPtr<ProcessInfo>> processes;
    ProcessUtils::ListProcesses(&processes, "");
    return processes.size();
}

// Idle processes.
class Crowd {
public:
    Crowd() {
        for (std::size_t count = CountProcesses(); count < 300; ++count) {
            const pid_t process = ::fork();
            if (process == 0) {
                ::prctl(PR_SET_PDEATHSIG, SIGKILL);
                ::pause();
                ::_exit(0);
            }
            m_processes.push_back(process);
        }
    }

    ~Crowd() {
        for (const pid_t process : m_processes) {
            ::kill(process, SIGKILL);
            ::waitpid(process, nullptr, 0);
        }
    }

    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

private:
    std::vector<pid_t> m_processes;
};

}  // namespace

std::size_t CrowdMachine() {
    static const Crowd s_crowd;
    return CountProcesses();
}

}  // namespace zel::bench
