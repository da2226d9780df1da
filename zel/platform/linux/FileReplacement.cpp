#include "zel/platform/FileReplacement.h"

#include "zel/platform/linux/Descriptor.h"
#include "zel/platform/linux/FileSync.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr mode_t ALL_MODE_BITS = 07777;

std::string ResolveLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                               &std::free);
    return resolved ? resolved.get() : path;
}

// Returns the error number if the existing file must not be replaced, or 0.
int CheckReplaceable(const std::string& path, const struct stat& status) noexcept {
    if (S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    if (!S_ISREG(status.st_mode)) {
        return EINVAL;
    }
    return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 ? 0 : errno;
}

std::string MakeTemporaryName() {
    static std::atomic<unsigned> s_count{0};
    return ".zel-" + std::to_string(::getpid()) + '-' + std::to_string(s_count++) + ".tmp";
}

// Where the old owner or mode can't be set, the file keeps the stricter mode of its creation.
void CopyOwnerAndMode(int file, const struct stat& status) noexcept {
    if (::fchown(file, status.st_uid, status.st_gid) == 0) {
        static_cast<void>(::fchmod(file, status.st_mode & ALL_MODE_BITS));
    }
}

}  // namespace

struct FileReplacement::State {
    explicit State(const std::string& path)
        : target(ResolveLinks(path)), directory(DirectoryOf(target)) {}

    void Create(mode_t mode) {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        // A process of the same number may have left its temporary files.
        do {
            temporary = directory + '/' + MakeTemporaryName();
            file = Descriptor(::open(temporary.c_str(), flags, mode));
        } while (!file.IsOpen() && errno == EEXIST);
        error = file.IsOpen() ? 0 : errno;
    }

    const std::string target;
    const std::string directory;
    std::string temporary;
    Descriptor file;
    int error = 0;
};

FileReplacement::FileReplacement(const std::string& path) : m_state(std::make_unique<State>(path)) {
    constexpr mode_t modeOfNewFiles = 0666;
    constexpr mode_t permissions = 0777;
    struct stat status = {};
    if (::stat(m_state->target.c_str(), &status) != 0) {
        m_state->Create(modeOfNewFiles);
        return;
    }
    m_state->error = CheckReplaceable(m_state->target, status);
    if (m_state->error == 0) {
        m_state->Create(status.st_mode & permissions);
    }
    if (m_state->error == 0) {
        CopyOwnerAndMode(m_state->file.Get(), status);
    }
}

FileReplacement::~FileReplacement() {
    if (m_state->file.IsOpen()) {
        static_cast<void>(::unlink(m_state->temporary.c_str()));
    }
}

bool FileReplacement::Write(std::string_view text) noexcept {
    if (m_state->error == 0) {
        m_state->error = WriteAll(m_state->file.Get(), text);
    }
    return m_state->error == 0;
}

int FileReplacement::Commit() noexcept {
    State& state = *m_state;
    if (state.error == 0 && (::fsync(state.file.Get()) != 0 ||
                             ::rename(state.temporary.c_str(), state.target.c_str()) != 0)) {
        state.error = errno;
    }
    if (state.error == 0) {
        state.file = Descriptor();
        SyncDirectory(state.directory);
    }
    return state.error;
}

}  // namespace zel::platform
