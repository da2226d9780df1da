#include "zel/platform/linux/PathTrail.h"

#include <array>
#include <climits>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace zel::platform {

namespace {

// As many as the kernel follows.
constexpr int MOST_LINKS = 40;

using Names = std::vector<std::string>;

bool IsAbsolute(std::string_view path) {
    return path.starts_with('/');
}

// Puts the names of a path on a pile, the first on top.
void Pile(std::string_view path, Names& pile) {
    while (!path.empty()) {
        const std::size_t separator = path.find_last_of('/');
        const std::size_t start = separator == std::string_view::npos ? 0 : separator + 1;
        const std::string_view name = path.substr(start);
        if (!name.empty() && name != ".") {
            pile.emplace_back(name);
        }
        path = path.substr(0, start == 0 ? 0 : separator);
    }
}

std::string Join(const std::string& directory, const std::string& name) {
    return directory.ends_with('/') ? directory + name : directory + '/' + name;
}

// The directory above one that is no link.
std::string Above(const std::string& directory) {
    const std::size_t separator = directory.find_last_of('/');
    if (directory == "/") {
        return directory;
    }
    if (directory == "." || directory.substr(separator + 1) == "..") {
        return directory + "/..";
    }
    return separator == 0 ? "/" : directory.substr(0, separator);
}

// Where a link leads; nothing if the path is no link.
std::optional<std::string> ReadLink(const std::string& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0) {
        return std::nullopt;
    }
    return std::string(target.data(), static_cast<std::size_t>(length));
}

bool Exists(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

std::optional<std::string> FollowPath(
    const std::string& path,
    const std::function<void(const std::string& directory, const std::string& name)>& onStep) {
    Names ahead;
    Pile(path, ahead);
    std::string at = IsAbsolute(path) ? "/" : ".";
    int links = 0;
    while (!ahead.empty()) {
        const std::string name = std::move(ahead.back());
        ahead.pop_back();
        if (name == "..") {
            at = Above(at);
            continue;
        }
        onStep(at, name);
        std::string next = Join(at, name);
        if (const std::optional<std::string> target = ReadLink(next)) {
            if (++links > MOST_LINKS) {
                return std::nullopt;
            }
            Pile(*target, ahead);
            at = IsAbsolute(*target) ? "/" : at;
        } else if (!Exists(next)) {
            return std::nullopt;
        } else {
            at = std::move(next);
        }
    }
    return path.empty() ? std::nullopt : std::optional(at);
}

}  // namespace zel::platform
