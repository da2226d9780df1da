#include "zel/platform/DirectoryWalk.h"

#include "zel/platform/linux/Descriptor.h"

#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace zel::platform {

const char DirectoryWalk::SEPARATOR = '/';

struct DirectoryWalk::Body {
    Descriptor directory;
    bool lacksMeans = false;
    // What the kernel has given of the directory, and how much of that is taken.
    std::size_t size = 0;
    std::size_t taken = 0;
    alignas(dirent64) std::array<char, 32 * 1024> block;

    bool Fill() noexcept {
        const ssize_t got =
            directory.IsOpen() ? ::getdents64(directory.Get(), block.data(), block.size()) : 0;
        size = got > 0 ? static_cast<std::size_t>(got) : 0;
        taken = 0;
        return size != 0;
    }

    const dirent64& Take() noexcept {
        const auto* const entry = reinterpret_cast<const dirent64*>(block.data() + taken);
        taken += entry->d_reclen;
        return *entry;
    }

    // Some file systems leave it to us to look at an entry. False if that is gone by now.
    bool Look(const dirent64& entry, bool& isDirectory) const noexcept {
        isDirectory = entry.d_type == DT_DIR;
        if (entry.d_type != DT_UNKNOWN) {
            return true;
        }
        struct stat status = {};
        if (::fstatat(directory.Get(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return false;
        }
        isDirectory = S_ISDIR(status.st_mode);
        return true;
    }
};

DirectoryWalk::DirectoryWalk(const std::string& path, Link link) : m_body(new Body) {
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (link == Link::Refuse ? O_NOFOLLOW : 0);
    m_body->directory = Descriptor(::open(path.c_str(), flags));
    m_body->lacksMeans =
        !m_body->directory.IsOpen() && (errno == EMFILE || errno == ENFILE || errno == ENOMEM);
}

DirectoryWalk::~DirectoryWalk() = default;

bool DirectoryWalk::LacksMeans() const noexcept {
    return m_body->lacksMeans;
}

bool DirectoryWalk::Next(DirectoryEntry& entry) {
    while (m_body->taken < m_body->size || m_body->Fill()) {
        const dirent64& next = m_body->Take();
        if (m_body->Look(next, entry.isDirectory)) {
            entry.name = next.d_name;
            return true;
        }
    }
    return false;
}

}  // namespace zel::platform
