#include "zel/platform/linux/PathResolution.h"

#include <array>
#include <climits>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace zel::platform {

namespace {

// The limit of the kernel.
constexpr int MAX_LINKS = 40;

using Names = std::vector<std::string>;

bool IsAbsolute(std::string_view path) {
    return path.starts_with('/');
}

// Appends the names of a path in reverse order.
void PushNames(std::string_view path, Names& stack) {
    while (!path.empty()) {
        const std::size_t separator = path.find_last_of('/');
        const std::size_t start = separator == std::string_view::npos ? 0 : separator + 1;
        const std::string_view name = path.substr(start);
        if (!name.empty() && name != ".") {
            stack.emplace_back(name);
        }
        path = path.substr(0, start == 0 ? 0 : separator);
    }
}

std::string Join(const std::string& directory, const std::string& name) {
    return directory.ends_with('/') ? directory + name : directory + '/' + name;
}

// Returns the parent of a directory that is not a link.
std::string GetParent(const std::string& directory) {
    const std::size_t separator = directory.find_last_of('/');
    if (directory == "/") {
        return directory;
    }
    if (directory == "." || directory.substr(separator + 1) == "..") {
        return directory + "/..";
    }
    return separator == 0 ? "/" : directory.substr(0, separator);
}

// Returns the target of a link; nothing if the path is not a link.
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

std::optional<std::string> ResolvePath(
    const std::string& path,
    const std::function<void(const std::string& directory, const std::string& name)>& onLookup) {
    Names remaining;
    PushNames(path, remaining);
    std::string current = IsAbsolute(path) ? "/" : ".";
    int links = 0;
    while (!remaining.empty()) {
        const std::string name = std::move(remaining.back());
        remaining.pop_back();
        if (name == "..") {
            current = GetParent(current);
            continue;
        }
        onLookup(current, name);
        std::string next = Join(current, name);
        if (const std::optional<std::string> target = ReadLink(next)) {
            if (++links > MAX_LINKS) {
                return std::nullopt;
            }
            PushNames(*target, remaining);
            current = IsAbsolute(*target) ? "/" : current;
        } else if (!Exists(next)) {
            return std::nullopt;
        } else {
            current = std::move(next);
        }
    }
    return path.empty() ? std::nullopt : std::optional(current);
}

}  // namespace zel::platform
