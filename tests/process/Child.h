#pragma once

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zel::test {

// A program under a name that no other process has, as tests run beside one another.
class UniqueProgram {
public:
    explicit UniqueProgram(const char* original)
        : name("zel_" + std::to_string(::getpid())),
          path(std::filesystem::temp_directory_path() / name) {
        std::filesystem::copy_file(original, path);
    }
    ~UniqueProgram() { std::filesystem::remove(path); }
    UniqueProgram(const UniqueProgram&) = delete;
    UniqueProgram& operator=(const UniqueProgram&) = delete;

    const std::string name;
    const std::string path;
};

// A program that runs, with its standard output at hand, until this object goes.
class Child {
public:
    explicit Child(std::vector<std::string> command) {
        std::vector<char*> words;
        for (std::string& word : command) {
            words.push_back(word.data());
        }
        words.push_back(nullptr);
        int ends[2] = {};
        if (::pipe(ends) != 0) {
            std::abort();
        }
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::close(ends[0]);
            ::close(ends[1]);
            ::execvp(words[0], words.data());
            ::_exit(127);
        }
        ::close(ends[1]);
        m_output = ends[0];
    }

    ~Child() {
        ::close(m_output);
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    unsigned int GetId() const { return static_cast<unsigned int>(m_pid); }

    // Without its line feed; empty if the program couldn't be started or has ended.
    std::string ReadLine() const {
        std::string line;
        for (char c = 0; ::read(m_output, &c, 1) == 1 && c != '\n';) {
            line += c;
        }
        return line;
    }

private:
    pid_t m_pid = -1;
    int m_output = -1;
};

}  // namespace zel::test
