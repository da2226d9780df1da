#include "zel/platform/linux/Inotify.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>

namespace zel::platform {

namespace {

// Returns whether the process or the system has no descriptor left.
bool IsOutOfDescriptors() {
    return !Descriptor(::open("/", O_PATH | O_CLOEXEC)).IsOpen();
}

}  // namespace

const char* const Inotify::DESCRIPTOR_LIMIT =
    "the limit of open descriptors, RLIMIT_NOFILE, is reached; ulimit -n raises it, up to sysctl "
    "fs.nr_open";

bool Inotify::Open() noexcept {
    if (!m_instance.IsOpen()) {
        m_instance = Descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    }
    return m_instance.IsOpen();
}

int Inotify::Add(const std::string& directory, std::uint32_t flags) noexcept {
    return ::inotify_add_watch(m_instance.Get(), directory.c_str(), flags | IN_ONLYDIR);
}

void Inotify::Remove(int watch) noexcept {
    ::inotify_rm_watch(m_instance.Get(), watch);
}

std::string Inotify::DescribeLimit(int error) {
    switch (error) {
        case EMFILE:
            return IsOutOfDescriptors() ? DESCRIPTOR_LIMIT
                                        : "the limit of inotify instances is reached; sysctl "
                                          "fs.inotify.max_user_instances raises it";
        case ENFILE:
            return "the system's limit of open files is reached; sysctl fs.file-max raises it";
        case ENOSPC:
            return "the limit of inotify watches is reached; sysctl "
                   "fs.inotify.max_user_watches raises it";
        default:
            return std::strerror(error);
    }
}

bool Inotify::WaitForEvents(int milliseconds) noexcept {
    // Without an instance this only sleeps: poll ignores a negative descriptor.
    pollfd waiting{m_instance.Get(), POLLIN, 0};
    return ::poll(&waiting, 1, milliseconds) > 0;
}

bool Inotify::Fill() noexcept {
    const ssize_t got = ::read(m_instance.Get(), m_block.data(), m_block.size());
    m_size = got > 0 ? static_cast<std::size_t>(got) : 0;
    return m_size != 0;
}

}  // namespace zel::platform
