#include "bench/crashd/CrashBenchProcess.h"

#include "bench/support/Comparison.h"

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::bench {

Process::Process(const char* program, const char* argument)
    : Process([=] { execl(program, program, argument, nullptr); }) {}

Process::Process(const std::function<void()>& work) {
    // So that what it leaves behind becomes a child of this process.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    int ends[3][2];
    for (auto& pair : ends) {
        Require(pipe2(pair, O_CLOEXEC) == 0, "there is a pipe");
    }
    m_number = fork();
    for (int stream = 0; stream < 3; ++stream) {
        const int childs = stream == STDIN_FILENO ? 0 : 1;
        if (m_number == 0) {
            dup2(ends[stream][childs], stream);
            close(ends[stream][1 - childs]);
        }
        close(ends[stream][childs]);
        m_streams[stream] = ends[stream][1 - childs];
    }
    if (m_number == 0) {
        work();
        _exit(EXIT_FAILURE);
    }
}

Process::~Process() {
    for (const int stream : m_streams) {
        close(stream);
    }
    while (wait(nullptr) > 0) {
    }
}

std::string Process::WaitUntilReady() {
    std::string text;
    for (char byte = 0; read(m_streams[1], &byte, 1) == 1 && byte != 'r';) {
        text += byte;
    }
    return text;
}

double Process::MeasureDeath(std::string& errors) {
    std::chrono::steady_clock::time_point start;
    Require(write(m_streams[0], "f", 1) == 1 &&
                read(m_streams[1], &start, sizeof(start)) == sizeof(start),
            "the victim dies");
    char buffer[8192];
    for (ssize_t count = 0; (count = read(m_streams[2], buffer, sizeof(buffer))) > 0;) {
        errors.append(buffer, static_cast<std::size_t>(count));
    }
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

pid_t Process::FindOrphan() const {
    const std::string self = std::to_string(getpid());
    std::ifstream in("/proc/" + self + "/task/" + self + "/children");
    pid_t process = 0;
    while (in >> process && process == m_number) {
    }
    return process;
}

}  // namespace zel::bench
