#pragma once

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace zel::test {

// A child process whose standard streams are pipes. Killed when this object is destroyed.
class ChildProcess {
public:
    // Runs a program, or calls `work` in a forked process.
    explicit ChildProcess(std::vector<std::string> command)
        : ChildProcess([&command] {
              std::vector<char*> words(command.size() + 1);
              std::ranges::transform(command, words.begin(),
                                     [](auto& word) { return word.data(); });
              ::execvp(words[0], words.data());
          }) {}

    explicit ChildProcess(const std::function<void()>& work) {
        int ends[3][2];
        for (auto& pair : ends) {
            if (::pipe2(pair, O_CLOEXEC) != 0) {
                std::abort();
            }
        }
        m_id = ::fork();
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            const int childs = stream == STDIN_FILENO ? 0 : 1;
            if (m_id == 0) {
                ::dup2(ends[stream][childs], stream);
                ::close(ends[stream][1 - childs]);
            }
            ::close(ends[stream][childs]);
            m_streams[stream] = ends[stream][1 - childs];
        }
        if (m_id == 0) {
            work();
            ::_exit(EXIT_FAILURE);
        }
    }

    ~ChildProcess() {
        if (m_id > 0) {
            Kill(SIGKILL);
            Wait();
        }
        for (const int stream : m_streams) {
            ::close(stream);
        }
    }

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t GetId() const { return m_id; }
    void Kill(int signal) const { ::kill(m_id, signal); }

    // Blocks until the process has exited and returns its status.
    int Wait() {
        int status = 0;
        ::waitpid(std::exchange(m_id, 0), &status, 0);
        return status;
    }

    void Write(std::string_view text) const {
        static_cast<void>(::write(m_streams[STDIN_FILENO], text.data(), text.size()));
    }

    void CloseInput() { ::close(std::exchange(m_streams[STDIN_FILENO], -1)); }

    // Returns its standard output up to and without `end`, or all of it if `end` does not occur.
    std::string ReadUntil(std::string_view end) const {
        std::string text;
        while (!text.ends_with(end) && ReadSome(STDOUT_FILENO, text, 1)) {
        }
        return text.substr(0, text.size() - (text.ends_with(end) ? end.size() : 0));
    }

    // Returns all output until the process and its descendants have closed the stream.
    std::string ReadAll(int stream) const {
        std::string text;
        while (ReadSome(stream, text, 4096)) {
        }
        return text;
    }

    // Returns an orphaned descendant of the process. Requires: the caller is a subreaper.
    pid_t FindOrphan() const {
        const std::string self = std::to_string(::getpid());
        std::ifstream in("/proc/" + self + "/task/" + self + "/children");
        pid_t process = 0;
        while (in >> process && process == m_id) {
        }
        return process;
    }

private:
    // Returns false at the end of the stream and after a timeout.
    bool ReadSome(int stream, std::string& text, std::size_t size) const {
        constexpr int timeout = 30'000;
        pollfd ready{m_streams[stream], POLLIN, 0};
        char block[4096];
        const ssize_t count =
            ::poll(&ready, 1, timeout) == 1 ? ::read(m_streams[stream], block, size) : 0;
        text.append(block, static_cast<std::size_t>(count > 0 ? count : 0));
        return count > 0;
    }

    pid_t m_id = 0;
    int m_streams[3] = {};
};

}  // namespace zel::test
