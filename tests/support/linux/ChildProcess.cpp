#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace zel::test {

namespace {

void Execute(std::vector<std::string> command) {
    std::vector<char*> words(command.size() + 1);
    std::ranges::transform(command, words.begin(), [](auto& word) { return word.data(); });
    ::execvp(words[0], words.data());
    ::_exit(EXIT_FAILURE);
}

}  // namespace

std::string OwnProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

void SetVariable(const std::string& name, const std::string& value) {
    ::setenv(name.c_str(), value.c_str(), 1);
}

struct ChildProcess::Body {
    void Start(const std::vector<std::string>& command) {
        int ends[3][2];
        for (auto& pair : ends) {
            if (::pipe2(pair, O_CLOEXEC) != 0) {
                std::abort();
            }
        }
        id = ::fork();
        for (const Stream stream : {INPUT, OUTPUT, ERRORS}) {
            const int childs = stream == INPUT ? 0 : 1;
            if (id == 0) {
                ::dup2(ends[stream][childs], stream);
                ::close(ends[stream][1 - childs]);
            }
            ::close(ends[stream][childs]);
            streams[stream] = ends[stream][1 - childs];
        }
        if (id == 0) {
            Execute(command);
        }
    }

    pid_t id = 0;
    int streams[3] = {};
};

ChildProcess::ChildProcess(const std::vector<std::string>& command)
    : m_body(std::make_unique<Body>()) {
    m_body->Start(command);
}

ChildProcess::~ChildProcess() {
    if (m_body->id > 0) {
        Kill();
        Wait();
    }
    for (const int stream : m_body->streams) {
        ::close(stream);
    }
}

int ChildProcess::GetId() const {
    return m_body->id;
}

void ChildProcess::Kill() const {
    ::kill(m_body->id, SIGKILL);
}

int ChildProcess::Wait() {
    int status = 0;
    ::waitpid(std::exchange(m_body->id, 0), &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void ChildProcess::Write(std::string_view text) const {
    static_cast<void>(::write(m_body->streams[INPUT], text.data(), text.size()));
}

void ChildProcess::CloseInput() {
    ::close(std::exchange(m_body->streams[INPUT], -1));
}

bool ChildProcess::ReadSome(Stream stream, std::string& text, std::size_t size) const {
    constexpr int timeout = 30'000;
    pollfd ready{m_body->streams[stream], POLLIN, 0};
    char block[4096];
    const ssize_t count =
        ::poll(&ready, 1, timeout) == 1 ? ::read(m_body->streams[stream], block, size) : 0;
    text.append(block, static_cast<std::size_t>(count > 0 ? count : 0));
    return count > 0;
}

}  // namespace zel::test
