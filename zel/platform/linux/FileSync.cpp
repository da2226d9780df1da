#include "zel/platform/linux/FileSync.h"

#include "zel/platform/linux/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zel::platform {

int WriteAll(int file, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0) {
            return EIO;
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

std::string DirectoryOf(const std::string& path) {
    const std::size_t separator = path.find_last_of('/');
    return separator == std::string::npos ? "." : path.substr(0, separator + 1);
}

void SyncDirectory(const std::string& directory) noexcept {
    const Descriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.IsOpen()) {
        static_cast<void>(::fsync(descriptor.Get()));
    }
}

}  // namespace zel::platform
