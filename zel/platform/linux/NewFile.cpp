#include "zel/platform/NewFile.h"

#include "zel/platform/linux/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::platform {

namespace {

int WriteAndSync(int file, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            return errno;
        }
    }
    return fsync(file) == 0 ? 0 : errno;
}

// Some file systems can't sync a directory; the entry is then stored when they see fit.
void SyncDirectoryOf(const std::string& path) {
    const std::size_t separator = path.find_last_of('/');
    const std::string directory =
        separator == std::string::npos ? "." : path.substr(0, separator + 1);
    const Descriptor descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.IsOpen()) {
        static_cast<void>(fsync(descriptor.Get()));
    }
}

}  // namespace

int WriteNewFile(const std::string& path, std::string_view text, bool& fileExists) {
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    const Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
    fileExists = !file.IsOpen() && errno == EEXIST;
    if (!file.IsOpen()) {
        return errno;
    }
    const int error = WriteAndSync(file.Get(), text);
    SyncDirectoryOf(path);
    return error;
}

}  // namespace zel::platform
