#include "zel/platform/NewFile.h"

#include "zel/platform/linux/Descriptor.h"
#include "zel/platform/linux/FileSync.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::platform {

int WriteNewFile(const std::string& path, std::string_view text, bool& fileExists) {
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    const Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
    fileExists = !file.IsOpen() && errno == EEXIST;
    if (!file.IsOpen()) {
        return errno;
    }
    int error = WriteAll(file.Get(), text);
    if (error == 0 && fsync(file.Get()) != 0) {
        error = errno;
    }
    SyncDirectory(DirectoryOf(path));
    return error;
}

}  // namespace zel::platform
