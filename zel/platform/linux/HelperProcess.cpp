#include "zel/platform/HelperProcess.h"

#include "zel/platform/linux/Descriptor.h"
#include "zel/platform/linux/InheritedChannel.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/auxv.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zel::platform {

namespace {

constexpr const char* OWN_PROGRAM = "/proc/self/exe";
constexpr int TERMINATION_SIGNALS[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2,
                                       SIGALRM, SIGTSTP, SIGTTIN, SIGTTOU, SIGPIPE};

bool IsPrivileged() noexcept {
    return getauxval(AT_SECURE) != 0;
}

// Returns the zero-terminated texts in a block.
std::vector<char*> Split(std::string& block) {
    std::vector<char*> texts;
    for (std::size_t i = 0; i < block.size(); i += std::string_view(&block[i]).size() + 1) {
        texts.push_back(&block[i]);
    }
    return texts;
}

// A helper process with another name than its program doesn't find its variable; it must not start
// a helper of its own.
bool IsLostHelper(const std::string& variable) {
    const std::string end = variable.back() + std::string("=") + INHERITED_CHANNEL_NAME;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (std::string_view(*entry).ends_with(end)) {
            return true;
        }
    }
    return false;
}

std::string ReadCommandLine() {
    std::ifstream in("/proc/self/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<char*> EnvironmentWith(const std::string& variable, std::string& setting) {
    std::vector<char*> environment;
    const std::string start = variable + '=';
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (!std::string_view(*entry).starts_with(start)) {
            environment.push_back(*entry);
        }
    }
    environment.push_back(setting.data());
    environment.push_back(nullptr);
    return environment;
}

// The link's target, because the link names the tool in programs that run under one, and because
// process listings show the path.
std::string FindProgram() {
    std::string path(256, '\0');
    for (;;) {
        const ssize_t length = readlink(OWN_PROGRAM, path.data(), path.size());
        if (length < 0) {
            return OWN_PROGRAM;
        }
        if (static_cast<std::size_t>(length) < path.size()) {
            path.resize(static_cast<std::size_t>(length));
            return path;
        }
        path.resize(2 * path.size());
    }
}

// The actions in the helper process before its program starts.
class SpawnSettings {
public:
    explicit SpawnSettings(int reader) noexcept {
        posix_spawnattr_init(&m_attributes);
        posix_spawn_file_actions_init(&m_actions);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        m_error |= posix_spawnattr_setsigmask(&m_attributes, &none);
        m_error |= posix_spawnattr_setsigdefault(&m_attributes, &all);
        m_error |= posix_spawnattr_setflags(
            &m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        m_error |= posix_spawn_file_actions_adddup2(&m_actions, reader, INHERITED_CHANNEL);
        m_error |= posix_spawn_file_actions_addclosefrom_np(&m_actions, INHERITED_CHANNEL + 1);
        OpenNullDevice(STDIN_FILENO);
        OpenNullDevice(STDOUT_FILENO);
        if (fcntl(STDERR_FILENO, F_GETFD) < 0) {
            OpenNullDevice(STDERR_FILENO);
        }
    }

    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }

    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    // Returns the error number.
    int Start(const char* program, char** arguments, char** environment, pid_t& process) {
        return m_error != 0 ? ENOMEM
                            : posix_spawn(&process, program, &m_actions, &m_attributes, arguments,
                                          environment);
    }

private:
    void OpenNullDevice(int stream) noexcept {
        m_error |= posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0);
    }

    posix_spawnattr_t m_attributes;
    posix_spawn_file_actions_t m_actions;
    int m_error = 0;
};

// Returns false after the time limit.
bool WaitForEnd(pid_t process, int seconds) noexcept {
    const Descriptor descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    if (!descriptor.IsOpen()) {
        return true;
    }
    constexpr int millisecondsPerSecond = 1000;
    pollfd end = {descriptor.Get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&end, 1, seconds * millisecondsPerSecond);
    } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

}  // namespace

bool HelperProcess::Start(const std::string& variable, CrashChannel& channel, char** arguments) {
    if (IsPrivileged() || IsLostHelper(variable)) {
        errno = EPERM;
        return false;
    }
    std::string commandLine = ReadCommandLine();
    std::vector<char*> ownArguments = Split(commandLine);
    ownArguments.push_back(nullptr);
    std::string setting = variable + '=' + INHERITED_CHANNEL_NAME;
    std::vector<char*> environment = EnvironmentWith(variable, setting);
    char** const used = ownArguments[0] != nullptr ? ownArguments.data() : arguments;

    SpawnSettings settings(channel.GetReader());
    pid_t process = 0;
    int error = settings.Start(FindProgram().c_str(), used, environment.data(), process);
    if (error != 0) {
        // The file may have been removed or replaced since the program started.
        error = settings.Start(OWN_PROGRAM, used, environment.data(), process);
    }
    channel.CloseReader();
    m_process = static_cast<unsigned long>(process);
    errno = error;
    return error == 0;
}

bool HelperProcess::HasFailed(const CrashChannel& channel) const noexcept {
    siginfo_t end = {};
    const int found =
        waitid(P_PID, static_cast<id_t>(m_process), &end, WEXITED | WNOHANG | WNOWAIT);
    return (found != 0 || end.si_pid != 0) && !channel.HasReader();
}

bool HelperProcess::WaitUntilListening(const CrashChannel& channel, int seconds) noexcept {
    const auto process = static_cast<pid_t>(m_process);
    if (!WaitForEnd(process, seconds)) {
        kill(process, SIGKILL);
    }
    // Another thread that waits for any child may have reaped it.
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
    return channel.HasReader();
}

bool TakeVariable(const std::string& variable, std::string& value) {
    const char* const found = IsPrivileged() ? nullptr : std::getenv(variable.c_str());
    if (found == nullptr) {
        return false;
    }
    value = found;
    unsetenv(variable.c_str());
    return true;
}

IgnoredTerminationSignals::IgnoredTerminationSignals() noexcept {
    for (const int signal : TERMINATION_SIGNALS) {
        std::signal(signal, SIG_IGN);
    }
}

IgnoredTerminationSignals::~IgnoredTerminationSignals() {
    for (const int signal : TERMINATION_SIGNALS) {
        std::signal(signal, SIG_DFL);
    }
}

}  // namespace zel::platform
