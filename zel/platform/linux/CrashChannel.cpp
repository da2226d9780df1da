#include "zel/platform/CrashChannel.h"

#include "zel/platform/linux/CrashChannelPlace.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zel::platform {

namespace {

// A program that was started without standard streams would lose its channel to one of them.
constexpr int LOWEST = 10;

void CloseDescriptor(int& descriptor) noexcept {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

// Moves a descriptor out of the way of the standard streams.
bool Raise(int& descriptor) noexcept {
    const int raised = fcntl(descriptor, F_DUPFD_CLOEXEC, LOWEST);
    const int error = errno;
    CloseDescriptor(descriptor);
    descriptor = raised;
    errno = error;
    return raised >= 0;
}

// Keeps the signal of a pipe without a reader from the calling thread, which may be the one of a
// crash or any other.
class WithoutPipeSignal {
public:
    WithoutPipeSignal() noexcept {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigpending(&m_before);
        sigprocmask(SIG_BLOCK, &m_pipe, &m_mask);
    }

    ~WithoutPipeSignal() {
        const timespec now = {};
        const int error = errno;
        if (sigismember(&m_before, SIGPIPE) == 0) {
            sigtimedwait(&m_pipe, nullptr, &now);
        }
        sigprocmask(SIG_SETMASK, &m_mask, nullptr);
        errno = error;
    }

    WithoutPipeSignal(const WithoutPipeSignal&) = delete;
    WithoutPipeSignal& operator=(const WithoutPipeSignal&) = delete;

private:
    sigset_t m_pipe;
    sigset_t m_before;
    sigset_t m_mask;
};

// The process that made a channel, as a descriptor that can be waited for; -1 if nobody is known
// or the system has no such. A dead process owns nothing, so a number that was given anew is found
// out.
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

// Whoever started this process waits for its end, and would have to wait for a daemon's too.
bool HandOver() noexcept {
    const pid_t daemon = fork();
    if (daemon > 0) {
        _exit(EXIT_SUCCESS);
    }
    return daemon == 0;
}

}  // namespace

bool CrashChannel::Create() noexcept {
    int ends[2] = {-1, -1};
    // A full pipe must not keep a crashed program waiting.
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    m_reader = ends[0];
    m_writer = ends[1];
    const bool isRaised = Raise(m_reader) && Raise(m_writer);
    // The second copy asks whose channel it is.
    if (!isRaised || fcntl(m_reader, F_SETOWN, getpid()) != 0) {
        const int error = errno;
        CloseReader();
        Close();
        errno = error;
        return false;
    }
    return true;
}

const char* CrashChannel::GetName() noexcept {
    return CRASH_CHANNEL_NAME;
}

void CrashChannel::CloseReader() noexcept {
    CloseDescriptor(m_reader);
}

bool CrashChannel::HasReader() const noexcept {
    pollfd writer = {m_writer, 0, 0};
    while (poll(&writer, 1, 0) < 0 && errno == EINTR) {
    }
    return IsOpen() && (writer.revents & (POLLERR | POLLNVAL)) == 0;
}

bool CrashChannel::Send(const void* data, std::size_t size) const noexcept {
    const WithoutPipeSignal withoutPipeSignal;
    const auto* position = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = write(m_writer, position, size);
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
    if (std::strcmp(name, CRASH_CHANNEL_NAME) != 0) {
        m_reader = open(name, O_RDONLY | O_CLOEXEC);
        return m_reader >= 0;
    }
    // Opening it by its path would wait for ever if the program has ended since.
    if (fcntl(CRASH_CHANNEL_PLACE, F_SETFD, FD_CLOEXEC) != 0) {
        return false;
    }
    m_reader = CRASH_CHANNEL_PLACE;
    m_program = OpenOwner(m_reader);
    return HandOver();
}

std::size_t CrashChannelReader::Read(void* buffer, std::size_t size) noexcept {
    bool hasEnded = false;
    for (;;) {
        // A child that the program has forked off may hold the writing end for longer than the
        // program lives, so its end is waited for as well. What it has sent is read all the same.
        pollfd sources[] = {{m_reader, POLLIN, 0}, {m_program, POLLIN, 0}};
        if (poll(sources, 2, hasEnded ? 0 : -1) < 0 && errno != EINTR) {
            return 0;
        }
        if (sources[0].revents != 0) {
            const ssize_t count = read(m_reader, buffer, size);
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
