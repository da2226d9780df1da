#include "zel/platform/ProcessTable.h"

#include "zel/platform/DirectoryWalk.h"

#include <array>
#include <charconv>
#include <climits>
#include <linux/magic.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace zel::platform {

namespace {

constexpr const char* TABLE = "/proc";
constexpr std::string_view DELETED_MARK = " (deleted)";

bool ParseId(std::string_view name, unsigned int& id) {
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, id);
    return error == std::errc() && stop == end;
}

// The mark may be part of a file's name, so the files themselves are compared.
bool IsDeleted(const char* link, const char* target) {
    struct stat running = {};
    struct stat named = {};
    return ::stat(link, &running) != 0 || ::lstat(target, &named) != 0 ||
           running.st_dev != named.st_dev || running.st_ino != named.st_ino;
}

}  // namespace

bool ListProcessIds(std::vector<unsigned int>& processes) {
    struct statfs fileSystem = {};
    if (::statfs(TABLE, &fileSystem) != 0 || fileSystem.f_type != PROC_SUPER_MAGIC) {
        return false;
    }
    std::vector<unsigned int> found;
    DirectoryWalk walk(TABLE, DirectoryWalk::Link::Follow);
    DirectoryEntry entry;
    unsigned int id = 0;
    while (walk.Next(entry)) {
        if (ParseId(entry.name, id)) {
            found.push_back(id);
        }
    }
    processes.insert(processes.end(), found.begin(), found.end());
    return !found.empty();
}

std::string ReadProcessName(unsigned int process) {
    const std::string link = TABLE + ('/' + std::to_string(process)) + "/exe";
    std::array<char, PATH_MAX + 1> target;
    const ssize_t length = ::readlink(link.c_str(), target.data(), PATH_MAX);
    if (length <= 0) {
        return {};
    }
    target[static_cast<std::size_t>(length)] = '\0';
    std::string_view name(target.data(), static_cast<std::size_t>(length));
    if (name.ends_with(DELETED_MARK) && IsDeleted(link.c_str(), target.data())) {
        name.remove_suffix(DELETED_MARK.size());
    }
    return std::string(name.substr(name.find_last_of('/') + 1));
}

}  // namespace zel::platform
