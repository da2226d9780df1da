#include "zel/watch/Snapshot.h"

#include "zel/platform/DirectoryWalk.h"
#include "zel/platform/NameOrder.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace zel {

namespace {

namespace fs = std::filesystem;
using platform::DirectoryWalk;

}  // namespace

Changes Compare(const Listing& before, const Listing& after) {
    Changes changes;
    const auto append = [](Listing& listing, const std::string& path) {
        listing.insert(listing.end(), path);
    };
    auto old = before.begin();
    auto fresh = after.begin();
    while (old != before.end() || fresh != after.end()) {
        const int order = old == before.end()    ? 1
                          : fresh == after.end() ? -1
                                                 : platform::CompareNames(*old, *fresh);
        if (order < 0) {
            append(changes.removed, *old++);
        } else if (order > 0) {
            append(changes.added, *fresh++);
        } else {
            ++old;
            ++fresh;
        }
    }
    return changes;
}

void Snapshot::Clear() noexcept {
    m_files.clear();
    m_dirs.clear();
    m_isExact = false;
}

std::optional<Changes> Snapshot::LookAt(const std::string& directory,
                                        const std::vector<std::string>& paths) const {
    Changes changes;
    for (const std::string& path : paths) {
        const std::size_t separator = path.rfind(DirectoryWalk::SEPARATOR);
        const std::string start = directory + DirectoryWalk::SEPARATOR;
        const bool isParentListed =
            separator == std::string::npos || HasDirectory(start + path.substr(0, separator));
        if (!m_isExact || !isParentListed || !LookAt(start + path, changes)) {
            return std::nullopt;
        }
    }
    return changes;
}

void Snapshot::Apply(Changes&& files) noexcept {
    for (const std::string& path : files.removed) {
        m_files.erase(path);
    }
    m_files.merge(files.added);
}

bool Snapshot::HasDirectory(const std::string& path) const {
    const auto found = m_dirs.find(path);
    return found != m_dirs.end() && *found == path;
}

bool Snapshot::LookAt(std::string path, Changes& changes) const {
    std::error_code ignored;  // the type is none after an error
    const fs::file_type type = fs::symlink_status(path, ignored).type();
    const auto known = m_files.find(path);
    const bool isKnown = known != m_files.end();
    const bool isOtherName = isKnown && *known != path;
    if (type == fs::file_type::none || type == fs::file_type::directory || isOtherName ||
        m_dirs.contains(path)) {
        return false;
    }
    const bool exists = type != fs::file_type::not_found;
    if (exists == isKnown) {
        return true;
    }
    Listing& changed = exists ? changes.added : changes.removed;
    const auto [place, isNew] = changed.insert(path);
    return isNew || *place == path;
}

}  // namespace zel
