#include "tests/crashd/Child.h"

#include "tests/crashd/Victim.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::crashtest {

namespace {

constexpr int longWait = 30'000;

// False at the end.
bool ReadSome(int descriptor, std::string& text) {
    pollfd ready = {descriptor, POLLIN, 0};
    if (poll(&ready, 1, longWait) != 1) {
        ADD_FAILURE() << "waited in vain, behind \"" << text << '"';
        return false;
    }
    char buffer[4096];
    const ssize_t count = read(descriptor, buffer, sizeof(buffer));
    text.append(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
}

}  // namespace

bool Outcome::EndedBy(int signal) const {
    return WIFSIGNALED(status) && WTERMSIG(status) == signal;
}

bool Outcome::ExitedWith(int code) const {
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

std::size_t Outcome::Count(std::string_view text) const {
    std::size_t count = 0;
    for (std::size_t i = errors.find(text); i != std::string::npos; i = errors.find(text, i + 1)) {
        ++count;
    }
    return count;
}

std::string Outcome::Line(std::string_view beginning) const {
    const std::size_t start = errors.find('\n' + std::string(beginning));
    if (start == std::string::npos) {
        return "";
    }
    const std::size_t rest = start + 1 + beginning.size();
    return errors.substr(rest, errors.find('\n', rest) - rest);
}

Child::Child(const std::function<void()>& work) {
    Start(work);
}

Child::Child(const std::string& death, const std::string& place, const std::string& trouble) {
    Start([&] {
        execl("/proc/self/exe", "crashd_tests", VICTIM, death.c_str(), place.c_str(),
              trouble.c_str(), nullptr);
    });
}

Child::~Child() {
    for (const int descriptor : {m_input, m_output, m_errors}) {
        close(descriptor);
    }
}

void Child::Start(const std::function<void()>& work) {
    int streams[3][2];
    for (auto& stream : streams) {
        ASSERT_EQ(pipe2(stream, O_CLOEXEC), 0);
    }
    m_process = fork();
    if (m_process == 0) {
        dup2(streams[0][0], STDIN_FILENO);
        dup2(streams[1][1], STDOUT_FILENO);
        dup2(streams[2][1], STDERR_FILENO);
        close(streams[0][1]);
        work();
        _exit(EXIT_FAILURE);
    }
    close(streams[0][0]);
    close(streams[1][1]);
    close(streams[2][1]);
    m_input = streams[0][1];
    m_output = streams[1][0];
    m_errors = streams[2][0];
}

void Child::WaitFor(std::string_view text) {
    while (m_read.find(text) == std::string::npos && ReadSome(m_output, m_read)) {
    }
    ASSERT_NE(m_read.find(text), std::string::npos);
}

std::vector<pid_t> Child::GetOrphans() {
    const std::string self = std::to_string(getpid());
    std::ifstream in("/proc/" + self + "/task/" + self + "/children");
    std::vector<pid_t> orphans;
    for (pid_t process = 0; in >> process;) {
        orphans.push_back(process);
    }
    return orphans;
}

Outcome Child::Finish() {
    Outcome outcome;
    waitpid(m_process, &outcome.status, 0);
    const auto end = std::chrono::steady_clock::now();
    while (ReadSome(m_errors, outcome.errors)) {
    }
    outcome.afterlife = std::chrono::steady_clock::now() - end;
    close(std::exchange(m_input, -1));
    while (ReadSome(m_output, m_read)) {
    }
    outcome.output = m_read;
    while (waitpid(-1, nullptr, 0) > 0) {
    }
    return outcome;
}

}  // namespace zel::crashtest
