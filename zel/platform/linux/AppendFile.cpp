#include "zel/platform/AppendFile.h"

#include "zel/platform/linux/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zel::platform {

struct AppendFile::Body {
    explicit Body(std::string name) : path(std::move(name)) { Open(); }

    bool PathNamesOpenFile() const noexcept {
        struct stat opened = {};
        struct stat named = {};
        return file.IsOpen() && ::fstat(file.Get(), &opened) == 0 &&
               ::stat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
               opened.st_ino == named.st_ino;
    }

    void Open() noexcept {
        file = Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666));
    }

    const std::string path;
    Descriptor file;
};

AppendFile::AppendFile(std::string path) : m_body(std::make_unique<Body>(std::move(path))) {}

AppendFile::~AppendFile() = default;

bool AppendFile::IsOpen() const noexcept {
    return m_body->file.IsOpen();
}

std::uint64_t AppendFile::GetSize() const noexcept {
    struct stat named = {};
    return ::stat(m_body->path.c_str(), &named) == 0 ? static_cast<std::uint64_t>(named.st_size)
                                                     : 0;
}

bool AppendFile::Append(std::string_view text) noexcept {
    if (!m_body->PathNamesOpenFile()) {
        m_body->Open();
    }
    return IsOpen() && ::write(m_body->file.Get(), text.data(), text.size()) ==
                           static_cast<ssize_t>(text.size());
}

}  // namespace zel::platform
