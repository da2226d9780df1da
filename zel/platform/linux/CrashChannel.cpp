#include "zel/platform/CrashChannel.h"

#include "zel/platform/linux/InheritedChannel.h"

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

// A program started without standard streams may later open one of them at a low number.
constexpr int LOWEST_DESCRIPTOR = 10;

void CloseDescriptor(int& descriptor) noexcept {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

// Moves a descriptor above those of the standard streams.
bool MoveUp(int& descriptor) noexcept {
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, LOWEST_DESCRIPTOR);
    const int error = errno;
    CloseDescriptor(descriptor);
    descriptor = moved;
    errno = error;
    return moved >= 0;
}

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

// The program waits for the end of the process that it started, so the daemon is a child of that.
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
    // A full pipe must not block a crashed program.
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    m_reader = ends[0];
    m_writer = ends[1];
    const bool isMovedUp = MoveUp(m_reader) && MoveUp(m_writer);
    // The helper process asks for the channel's owner.
    if (!isMovedUp || fcntl(m_reader, F_SETOWN, getpid()) != 0) {
        const int error = errno;
        CloseReader();
        Close();
        errno = error;
        return false;
    }
    return true;
}

const char* CrashChannel::GetName() noexcept {
    return INHERITED_CHANNEL_NAME;
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
    const SuppressedPipeSignal suppressedPipeSignal;
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
    if (std::strcmp(name, INHERITED_CHANNEL_NAME) != 0) {
        m_reader = open(name, O_RDONLY | O_CLOEXEC);
        return m_reader >= 0;
    }
    // Opening the path would block if the program has ended.
    if (fcntl(INHERITED_CHANNEL, F_SETFD, FD_CLOEXEC) != 0) {
        return false;
    }
    m_reader = INHERITED_CHANNEL;
    m_program = OpenOwner(m_reader);
    return HandOver();
}

std::size_t CrashChannelReader::Read(void* buffer, std::size_t size) noexcept {
    bool hasEnded = false;
    for (;;) {
        // A child forked from the program may hold the writing end after the program has ended, so
        // the program's end is polled too. Data that was sent before is still read.
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
