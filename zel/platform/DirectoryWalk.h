#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace zel::platform {

// One entry of a directory. The name is valid until the next step of the walk.
struct DirectoryEntry {
    std::string_view name;
    bool isDirectory = false;
};

// Iterates once over the entries of one directory, in the system's order.
//
//     DirectoryWalk walk(path, DirectoryWalk::Link::Follow);
//     DirectoryEntry entry;
//     while (walk.Next(entry)) { ... }
//
// Every system implements this class. "." and ".." may or may not be included; hidden and system
// entries are. A link is never a directory. Entries added or removed during the walk may or may not
// be included and don't end it. Not thread-safe.
class DirectoryWalk {
public:
    // The separator of directories and names in a path.
    static const char SEPARATOR;

    // What to do if the path itself is a link to a directory.
    enum class Link { Follow, Refuse };

    DirectoryWalk(const std::string& path, Link link);
    ~DirectoryWalk();
    DirectoryWalk(const DirectoryWalk&) = delete;
    DirectoryWalk& operator=(const DirectoryWalk&) = delete;

    // Returns whether the directory couldn't be opened because of missing descriptors or memory;
    // it may exist.
    bool IsOutOfResources() const noexcept;

    // Sets `entry` to the next entry. Returns false at the end, or if the directory couldn't be
    // opened.
    bool Next(DirectoryEntry& entry);

private:
    struct Body;
    const std::unique_ptr<Body> m_body;
};

}  // namespace zel::platform
