#include "zel/platform/FileReplacement.h"

#include "zel/platform/linux/Descriptor.h"
#include "zel/platform/linux/FileSync.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr mode_t ALL_MODE_BITS = 07777;
constexpr mode_t PERMISSIONS = 0777;

// A link to a missing file is followed too: the file is created where the link points to.
std::string ResolveLinks(const std::filesystem::path& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                               &std::free);
    if (resolved) {
        return resolved.get();
    }
    std::error_code error(errno, std::generic_category());
    if (error != std::errc::no_such_file_or_directory) {
        return path;
    }
    const std::filesystem::path target = std::filesystem::read_symlink(path, error);
    return error ? path.string() : ResolveLinks(path.parent_path() / target);
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

// Without permission to set the old group, the caller's group gets the rights of all others.
void CopyOwnerAndMode(int file, const struct stat& status) noexcept {
    constexpr uid_t unchanged = static_cast<uid_t>(-1);
    constexpr int bitsPerClass = 3;
    mode_t mode = status.st_mode & ALL_MODE_BITS;
    if (::fchown(file, status.st_uid, status.st_gid) != 0) {
        mode &= PERMISSIONS;
        if (::fchown(file, unchanged, status.st_gid) != 0) {
            mode = (mode & ~mode_t{S_IRWXG}) | (mode & S_IRWXO) << bitsPerClass;
        }
    }
    static_cast<void>(::fchmod(file, mode));
}

}  // namespace

struct FileReplacement::State {
    explicit State(const std::string& path)
        : target(ResolveLinks(path)), directory(DirectoryOf(target)) {}

    // Creates the temporary file. Returns the error number, or 0.
    int Create(mode_t mode) {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        // A process of the same number may have left its temporary files.
        do {
            temporary = directory + '/' + MakeTemporaryName();
            file = Descriptor(::open(temporary.c_str(), flags, mode));
        } while (!file.IsOpen() && errno == EEXIST);
        return file.IsOpen() ? 0 : errno;
    }

    const std::string target;
    const std::string directory;
    std::string temporary;
    Descriptor file;
    int error = 0;
};

FileReplacement::FileReplacement(const std::string& path) : m_state(std::make_unique<State>(path)) {
    constexpr mode_t modeOfNewFiles = 0666;
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    struct stat status = {};
    if (::stat(m_state->target.c_str(), &status) != 0) {
        m_state->error = errno == ENOENT ? m_state->Create(modeOfNewFiles) : errno;
        return;
    }
    m_state->error = CheckReplaceable(m_state->target, status);
    if (m_state->error == 0) {
        m_state->error = m_state->Create(ownerOnly);
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
