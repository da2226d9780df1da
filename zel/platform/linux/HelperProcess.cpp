#include "zel/platform/HelperProcess.h"

#include "zel/platform/linux/InheritedChannel.h"
#include "zel/platform/linux/Pipe.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <linux/capability.h>
#include <poll.h>
#include <sched.h>
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

bool HasAddedCapabilities() noexcept {
    return getauxval(AT_SECURE) != 0 && getuid() == geteuid() && getgid() == getegid();
}

// A set-user-ID or set-group-ID program acts for another user than the one who started it.
bool IsPrivileged() noexcept {
    return getauxval(AT_SECURE) != 0 && !HasAddedCapabilities();
}

bool DropCapabilities() noexcept {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    return syscall(SYS_capset, &header, none) == 0;
}

// Returns the zero-terminated texts in a block.
std::vector<char*> Split(std::string& block) {
    std::vector<char*> texts;
    for (std::size_t i = 0; i < block.size(); i += std::string_view(&block[i]).size() + 1) {
        texts.push_back(&block[i]);
    }
    return texts;
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
    SpawnSettings(int reader, int ready) noexcept {
        posix_spawnattr_init(&m_attributes);
        posix_spawn_file_actions_init(&m_actions);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        m_error |= posix_spawnattr_setsigmask(&m_attributes, &none);
        m_error |= posix_spawnattr_setsigdefault(&m_attributes, &all);
        m_error |=
            posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        m_error |= posix_spawn_file_actions_adddup2(&m_actions, reader, INHERITED_CHANNEL);
        m_error |= posix_spawn_file_actions_adddup2(&m_actions, ready, INHERITED_READY);
        m_error |= posix_spawn_file_actions_addclosefrom_np(&m_actions, INHERITED_READY + 1);
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
    int Start(const char* program, char** arguments, char** environment, pid_t& process) const {
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

// What the process between the program and its helper needs, and its result.
struct Launch {
    const SpawnSettings& settings;
    const char* program;
    char** arguments;
    char** environment;
    pid_t process = 0;
    int error = 0;

    // Starts the helper and ends, which leaves the helper without a parent. The session begins
    // here, so that the helper doesn't lead it and can't acquire a terminal.
    static int Run(void* argument) {
        auto& launch = *static_cast<Launch*>(argument);
        setsid();
        launch.error = launch.Spawn(launch.program);
        if (launch.error != 0) {
            // The file may have been removed or replaced since the program started.
            launch.error = launch.Spawn(OWN_PROGRAM);
        }
        return 0;
    }

    int Spawn(const char* file) { return settings.Start(file, arguments, environment, process); }
};

class BlockedSignals {
public:
    BlockedSignals() noexcept {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_mask);
    }

    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_mask, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t m_mask;
};

// Runs the launch in a process that shares this one's memory, while this one waits: no page is
// copied, however large the program is. The process sends no signal when it ends, so that neither
// a handler of SIGCHLD nor a `wait` of the program sees it. Returns the error number.
int RunBetween(Launch& launch) {
    constexpr std::size_t stackSize = 128 * 1024;
    std::vector<std::max_align_t> stack(stackSize / sizeof(std::max_align_t));
    const BlockedSignals blockedSignals;
    const pid_t between =
        clone(Launch::Run, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK, &launch);
    if (between < 0) {
        return errno;
    }
    while (waitpid(between, nullptr, static_cast<int>(__WCLONE)) < 0 && errno == EINTR) {
    }
    return launch.error;
}

// Sets the number of the helper process. Returns the error number.
int Spawn(const std::string& variable, char** arguments, const SpawnSettings& settings,
          unsigned long& process) {
    std::string commandLine = ReadCommandLine();
    std::vector<char*> ownArguments = Split(commandLine);
    ownArguments.push_back(nullptr);
    std::string setting = variable + '=' + INHERITED_CHANNEL_NAME;
    std::vector<char*> environment = EnvironmentWith(variable, setting);
    char** const used = ownArguments[0] != nullptr ? ownArguments.data() : arguments;
    const std::string program = FindProgram();
    Launch launch = {settings, program.c_str(), used, environment.data()};
    const int error = RunBetween(launch);
    process = static_cast<unsigned long>(launch.process);
    return error;
}

}  // namespace

HelperProcess::~HelperProcess() {
    CloseDescriptor(m_end);
    CloseDescriptor(m_ready);
}

bool HelperProcess::Start(const std::string& variable, CrashChannel& channel, char** arguments) {
    if (IsPrivileged()) {
        errno = EPERM;
        return false;
    }
    std::intptr_t ready = -1;
    if (!OpenPipe(m_ready, ready, 0)) {
        return false;
    }
    const SpawnSettings settings(DescriptorOf(channel.m_reader), DescriptorOf(ready));
    const int error = Spawn(variable, arguments, settings, m_process);
    m_end = error != 0 ? -1 : syscall(SYS_pidfd_open, m_process, 0);
    CloseDescriptor(ready);
    channel.CloseReader();
    errno = error;
    return error == 0;
}

bool HelperProcess::HasEnded() const noexcept {
    pollfd end = {DescriptorOf(m_end), POLLIN, 0};
    return poll(&end, 1, 0) > 0;
}

bool HelperProcess::WaitUntilListening(const CrashChannel&, int seconds) noexcept {
    constexpr int millisecondsPerSecond = 1000;
    pollfd sources[] = {{DescriptorOf(m_ready), POLLIN, 0}, {DescriptorOf(m_end), POLLIN, 0}};
    int count = 0;
    do {
        count = poll(sources, 2, seconds * millisecondsPerSecond);
    } while (count < 0 && errno == EINTR);
    char ready = 0;
    if ((sources[0].revents & POLLIN) != 0 && read(sources[0].fd, &ready, sizeof(ready)) == 1) {
        return true;
    }
    if (count == 0) {
        kill(static_cast<pid_t>(m_process), SIGKILL);
    }
    return false;
}

bool TakeVariable(const std::string& variable, std::string& value) {
    const char* const found = IsPrivileged() ? nullptr : std::getenv(variable.c_str());
    if (found == nullptr) {
        return false;
    }
    // Those of root are kept, because files of other users may have to be read and written.
    const bool isReduced = getuid() == 0 || DropCapabilities();
    if (!isReduced && HasAddedCapabilities()) {
        return false;
    }
    value = found;
    unsetenv(variable.c_str());
    return true;
}

bool IsLostHelper(const std::string& ending) {
    const std::string end = ending + '=' + INHERITED_CHANNEL_NAME;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (std::string_view(*entry).ends_with(end)) {
            return HasInheritedChannel();
        }
    }
    return false;
}

void IgnoreTerminationSignals() noexcept {
    for (const int signal : TERMINATION_SIGNALS) {
        std::signal(signal, SIG_IGN);
    }
}

}  // namespace zel::platform
