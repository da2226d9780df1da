#pragma once

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

namespace zel::platform {

/// Returns a descriptor that is kept in a type for every system.
inline int DescriptorOf(std::intptr_t value) noexcept {
    return static_cast<int>(value);
}

/// Closes a descriptor, if it is one, and sets it to -1. Leaves `errno` unchanged.
template <class Descriptor>
void CloseDescriptor(Descriptor& descriptor) noexcept {
    if (descriptor >= 0) {
        const int error = errno;
        close(static_cast<int>(descriptor));
        descriptor = -1;
        errno = error;
    }
}

/// Opens a pipe that other programs don't inherit, with descriptors above those of the standard
/// streams: a program that was started without some of these may open them later. Returns false,
/// with the system's error number, on failure.
inline bool OpenPipe(std::intptr_t& reader, std::intptr_t& writer, int flags) noexcept {
    constexpr int lowestDescriptor = 10;
    int ends[2] = {-1, -1};
    if (pipe2(ends, flags | O_CLOEXEC) != 0) {
        return false;
    }
    reader = fcntl(ends[0], F_DUPFD_CLOEXEC, lowestDescriptor);
    writer = reader < 0 ? -1 : fcntl(ends[1], F_DUPFD_CLOEXEC, lowestDescriptor);
    CloseDescriptor(ends[0]);
    CloseDescriptor(ends[1]);
    if (writer < 0) {
        CloseDescriptor(reader);
    }
    return writer >= 0;
}

}  // namespace zel::platform
