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
    bool isOutOfResources = false;
    // Bytes in the block, and how many of them have been consumed.
    std::size_t size = 0;
    std::size_t consumed = 0;
    alignas(dirent64) std::array<char, 32 * 1024> block;

    bool Fill() noexcept {
        const ssize_t got =
            directory.IsOpen() ? ::getdents64(directory.Get(), block.data(), block.size()) : 0;
        size = got > 0 ? static_cast<std::size_t>(got) : 0;
        consumed = 0;
        return size != 0;
    }

    const dirent64& Take() noexcept {
        const auto* const entry = reinterpret_cast<const dirent64*>(block.data() + consumed);
        consumed += entry->d_reclen;
        return *entry;
    }

    // Some file systems don't report the type. Returns false if the entry no longer exists.
    bool GetType(const dirent64& entry, bool& isDirectory) const noexcept {
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
    m_body->isOutOfResources =
        !m_body->directory.IsOpen() && (errno == EMFILE || errno == ENFILE || errno == ENOMEM);
}

DirectoryWalk::~DirectoryWalk() = default;

bool DirectoryWalk::IsOutOfResources() const noexcept {
    return m_body->isOutOfResources;
}

bool DirectoryWalk::Next(DirectoryEntry& entry) {
    while (m_body->consumed < m_body->size || m_body->Fill()) {
        const dirent64& next = m_body->Take();
        if (m_body->GetType(next, entry.isDirectory)) {
            entry.name = next.d_name;
            return true;
        }
    }
    return false;
}

}  // namespace zel::platform
