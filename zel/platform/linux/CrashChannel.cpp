#include "zel/platform/CrashChannel.h"

#include "zel/platform/linux/InheritedChannel.h"
#include "zel/platform/linux/Pipe.h"
#include "zel/platform/linux/ThreadTimer.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr std::chrono::seconds WRITER_TIMEOUT{5};

// Suppresses the signal of a pipe without a reader for the calling thread.
class SuppressedPipeSignal {
public:
    SuppressedPipeSignal() noexcept {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigpending(&m_before);
        sigprocmask(SIG_BLOCK, &m_pipe, &m_mask);
    }

    ~SuppressedPipeSignal() {
        const timespec now = {};
        const int error = errno;
        if (sigismember(&m_before, SIGPIPE) == 0) {
            sigtimedwait(&m_pipe, nullptr, &now);
        }
        sigprocmask(SIG_SETMASK, &m_mask, nullptr);
        errno = error;
    }

    SuppressedPipeSignal(const SuppressedPipeSignal&) = delete;
    SuppressedPipeSignal& operator=(const SuppressedPipeSignal&) = delete;

private:
    sigset_t m_pipe;
    sigset_t m_before;
    sigset_t m_mask;
};

bool IsFifo(int descriptor) noexcept {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

// Returns the process that made a channel as a descriptor to poll, -1 if it is unknown or can't be
// had. The owner of a pipe is reset when that process ends, so a reused number is detected.
int OpenOwner(int reader) noexcept {
    const pid_t owner = fcntl(reader, F_GETOWN);
    if (owner <= 0) {
        return -1;
    }
    int process = static_cast<int>(syscall(SYS_pidfd_open, owner, 0));
    if (process >= 0 && fcntl(reader, F_GETOWN) != owner) {
        CloseDescriptor(process);
    }
    return process;
}

bool HasWriter(int reader) noexcept {
    pollfd end = {reader, 0, 0};
    return poll(&end, 1, 0) == 0;
}

// Interrupts the blocking calls of this thread again and again, so that it can check the time.
class InterruptedCalls {
public:
    InterruptedCalls() noexcept {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &m_action);
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_UNBLOCK, &alarm, &m_mask);
        constexpr long tenthOfSecond = 100'000'000;
        if (m_timer.Create(SIGALRM)) {
            m_timer.SetInterval(tenthOfSecond);
        }
    }

    ~InterruptedCalls() {
        const int error = errno;
        m_timer.Delete();
        pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
        sigaction(SIGALRM, &m_action, nullptr);
        errno = error;
    }

    InterruptedCalls(const InterruptedCalls&) = delete;
    InterruptedCalls& operator=(const InterruptedCalls&) = delete;

private:
    ThreadTimer m_timer;
    struct sigaction m_action = {};
    sigset_t m_mask = {};
};

// Checks the channel that this process has inherited. Opening its path would block if the program
// has ended. Returns its descriptor, -1 on failure.
int TakeInherited() noexcept {
    if (fcntl(INHERITED_CHANNEL, F_SETFD, FD_CLOEXEC) != 0) {
        return -1;
    }
    if (!IsFifo(INHERITED_CHANNEL) ||
        (fcntl(INHERITED_CHANNEL, F_GETOWN) <= 0 && HasWriter(INHERITED_CHANNEL))) {
        errno = EINVAL;
        return -1;
    }
    return INHERITED_CHANNEL;
}

void ReportListening() noexcept {
    // Fails if the program has ended, which Read reports.
    const char ready = 1;
    static_cast<void>(write(INHERITED_READY, &ready, sizeof(ready)));
    close(INHERITED_READY);
}

// Returns the descriptor, -1 on failure.
int OpenPath(const char* path) noexcept {
    struct stat status = {};
    if (stat(path, &status) != 0) {
        return -1;
    }
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    const InterruptedCalls interruptedCalls;
    const auto end = std::chrono::steady_clock::now() + WRITER_TIMEOUT;
    int reader = -1;
    do {
        reader = open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY);
    } while (reader < 0 && errno == EINTR && std::chrono::steady_clock::now() < end);
    if (reader < 0 && errno == EINTR) {
        errno = ETIMEDOUT;
    }
    return reader;
}

}  // namespace

bool HasInheritedChannel() noexcept {
    return IsFifo(INHERITED_CHANNEL) && fcntl(INHERITED_CHANNEL, F_GETOWN) > 0;
}

bool CrashChannel::Create(const char*) noexcept {
    if (IsUnchanged()) {
        Close();  // that of the process this one was forked from
    }
    // A full pipe must not block a crashed program.
    if (!OpenPipe(m_reader, m_writer, O_NONBLOCK)) {
        return false;
    }
    struct stat status = {};
    // The helper process asks for the channel's owner.
    if (fcntl(DescriptorOf(m_reader), F_SETOWN, getpid()) != 0 ||
        fstat(DescriptorOf(m_writer), &status) != 0) {
        CloseReader();
        Close();
        return false;
    }
    m_process = getpid();
    m_device = status.st_dev;
    m_inode = status.st_ino;
    return true;
}

bool CrashChannel::IsOpen() const noexcept {
    return m_writer >= 0 && m_process == getpid();
}

const char* CrashChannel::GetName() const noexcept {
    return INHERITED_CHANNEL_NAME;
}

void CrashChannel::CloseReader() noexcept {
    CloseDescriptor(m_reader);
}

bool CrashChannel::IsUnchanged() const noexcept {
    struct stat status = {};
    return m_writer >= 0 && fstat(DescriptorOf(m_writer), &status) == 0 &&
           status.st_dev == m_device && status.st_ino == m_inode;
}

bool CrashChannel::Send(const void* data, std::size_t size) const noexcept {
    if (!IsUnchanged()) {
        errno = EBADF;
        return false;
    }
    const SuppressedPipeSignal suppressedPipeSignal;
    const auto* position = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(DescriptorOf(m_writer), position, size);
        if (written > 0) {
            position += written;
            size -= static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

void CrashChannel::Close() noexcept {
    CloseDescriptor(m_writer);
}

CrashChannelReader::~CrashChannelReader() {
    Close();
}

bool CrashChannelReader::Open(const char* name) noexcept {
    if (std::strcmp(name, INHERITED_CHANNEL_NAME) != 0) {
        m_reader = OpenPath(name);
    } else if (const int reader = TakeInherited(); reader >= 0) {
        m_reader = reader;
        m_program = OpenOwner(reader);
        ReportListening();
    }
    return m_reader >= 0;
}

std::size_t CrashChannelReader::Read(void* buffer, std::size_t size) noexcept {
    bool hasEnded = false;
    for (;;) {
        // A child forked from the program may hold the writing end after the program has ended, so
        // the program's end is polled too. Data that was sent before is still read.
        pollfd sources[] = {{DescriptorOf(m_reader), POLLIN, 0},
                            {DescriptorOf(m_program), POLLIN, 0}};
        if (poll(sources, 2, hasEnded ? 0 : -1) < 0 && errno != EINTR) {
            return 0;
        }
        if (sources[0].revents != 0) {
            const ssize_t count = read(sources[0].fd, buffer, size);
            if (count >= 0 || (errno != EINTR && errno != EAGAIN)) {
                return count > 0 ? static_cast<std::size_t>(count) : 0;
            }
        } else if (hasEnded) {
            return 0;
        }
        hasEnded = hasEnded || sources[1].revents != 0;
    }
}

void CrashChannelReader::Close() noexcept {
    CloseDescriptor(m_reader);
    CloseDescriptor(m_program);
}

}  // namespace zel::platform
