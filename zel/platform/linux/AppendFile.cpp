#include "zel/platform/AppendFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zel::platform {

AppendFile::AppendFile(std::string path) : m_path(std::move(path)) {
    Open();
}

AppendFile::~AppendFile() {
    Close();
}

bool AppendFile::IsOpen() const noexcept {
    return m_descriptor >= 0;
}

bool AppendFile::Append(std::string_view text) noexcept {
    if (!PathNamesOpenFile()) {
        Close();
        Open();
    }
    return IsOpen() &&
           ::write(m_descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

bool AppendFile::PathNamesOpenFile() const noexcept {
    struct stat opened = {};
    struct stat named = {};
    return IsOpen() && ::fstat(m_descriptor, &opened) == 0 && ::stat(m_path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

void AppendFile::Open() noexcept {
    m_descriptor = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
}

void AppendFile::Close() noexcept {
    if (IsOpen()) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

}  // namespace zel::platform
