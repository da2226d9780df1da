#include "tests/crashd/Child.h"

#include "tests/crashd/Victim.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::crashtest {

namespace {

// False at the end.
bool ReadSome(int descriptor, std::string& text) {
    constexpr int longWait = 30'000;
    pollfd ready = {descriptor, POLLIN, 0};
    char buffer[4096];
    const ssize_t count =
        poll(&ready, 1, longWait) == 1 ? read(descriptor, buffer, sizeof(buffer)) : -1;
    EXPECT_GE(count, 0) << "waited in vain behind \"" << text << '"';
    text.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

}  // namespace

bool Outcome::EndedBy(int signal) const {
    return WIFSIGNALED(status) && WTERMSIG(status) == signal;
}

std::size_t Outcome::CountReports() const {
    constexpr std::string_view head = "|     Program Crash Report     |";
    std::size_t count = 0;
    for (std::size_t i = errors.find(head); i != std::string::npos; i = errors.find(head, i + 1)) {
        ++count;
    }
    return count;
}

std::string Outcome::Line(std::string_view beginning) const {
    const std::size_t rest = errors.find('\n' + std::string(beginning)) + 1 + beginning.size();
    return errors.substr(std::min(rest, errors.size()), errors.find('\n', rest) - rest);
}

Child::Child(const std::string& death, const std::string& place, const std::string& trouble) {
    int ends[3][2];
    for (auto& pair : ends) {
        EXPECT_EQ(pipe2(pair, O_CLOEXEC), 0);
    }
    m_process = fork();
    for (int stream = 0; stream < 3; ++stream) {
        const int childs = stream == STDIN_FILENO ? 0 : 1;
        if (m_process == 0) {
            dup2(ends[stream][childs], stream);
        }
        close(ends[stream][childs]);
        m_streams[stream] = ends[stream][1 - childs];
    }
    if (m_process == 0) {
        execl("/proc/self/exe", "crashd_tests", VICTIM, death.c_str(), place.c_str(),
              trouble.c_str(), nullptr);
        _exit(1);
    }
}

Child::~Child() {
    for (const int stream : m_streams) {
        close(stream);
    }
}

void Child::WaitUntilReady() {
    while (m_output.find("ready\n") == std::string::npos && ReadSome(m_streams[1], m_output)) {
    }
}

void Child::Kill(int signal) const {
    kill(m_process, signal);
}

pid_t Child::FindDaemon() const {
    const std::string self = std::to_string(getpid());
    std::ifstream in("/proc/" + self + "/task/" + self + "/children");
    pid_t process = 0;
    while (in >> process && process == m_process) {
    }
    return process;
}

Outcome Child::Finish() {
    Outcome outcome;
    waitpid(m_process, &outcome.status, 0);
    const auto end = std::chrono::steady_clock::now();
    while (ReadSome(m_streams[2], outcome.errors)) {
    }
    outcome.afterlife = std::chrono::steady_clock::now() - end;
    close(std::exchange(m_streams[0], -1));
    while (ReadSome(m_streams[1], m_output)) {
    }
    outcome.output = m_output;
    while (waitpid(-1, nullptr, 0) > 0) {
    }
    return outcome;
}

}  // namespace zel::crashtest
