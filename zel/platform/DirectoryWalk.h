#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace zel::platform {

// What a directory holds under one name. The name is good up to the next step of the walk.
struct DirectoryEntry {
    std::string_view name;
    bool isDirectory = false;
};

// Walks the entries of one directory, once, in the system's order.
//
//     DirectoryWalk walk(path, DirectoryWalk::Link::Follow);
//     DirectoryEntry entry;
//     while (walk.Next(entry)) { ... }
//
// A new system must offer this. "." and ".." may come or not. A link is no directory, wherever it
// leads. Hidden and system entries come like all others. Entries that come or go during the walk
// may be met or missed, and none of them ends it. Not for several threads at once.
class DirectoryWalk {
public:
    // What stands between a directory and a name in a path.
    static const char SEPARATOR;

    // What to do when the path itself is a link to a directory.
    enum class Link { Follow, Refuse };

    DirectoryWalk(const std::string& path, Link link);
    ~DirectoryWalk();
    DirectoryWalk(const DirectoryWalk&) = delete;
    DirectoryWalk& operator=(const DirectoryWalk&) = delete;

    // True if the walk couldn't start for want of descriptors or memory: the directory may be
    // there.
    bool LacksMeans() const noexcept;

    // Sets `entry` to the next one; false at the end, and at once if the walk couldn't start.
    bool Next(DirectoryEntry& entry);

private:
    struct Body;
    const std::unique_ptr<Body> m_body;
};

}  // namespace zel::platform
