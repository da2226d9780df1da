#pragma once

#include "zel/watch/FileWatcher.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zel {

using Listing = std::set<std::string, StrcmpiPred>;

struct Changes {
    Listing added;
    Listing removed;
};

Changes Compare(const Listing& before, const Listing& after);

// The entries below a directory at one moment.
class Snapshot {
public:
    // Replaces the entries by those of a complete listing.
    void List(const std::string& directory, bool recursive);
    void Clear() noexcept;

    const Listing& GetFiles() const noexcept { return m_files; }
    const Listing& GetDirs() const noexcept { return m_dirs; }

    // Looks at the files at these paths below `directory`, which was listed, and returns those that
    // were added or removed since. Returns nothing if a complete listing is necessary.
    std::optional<Changes> LookAt(const std::string& directory,
                                  const std::vector<std::string>& paths) const;

    // Changes the files as LookAt has reported.
    void Apply(Changes&& files) noexcept;

private:
    bool HasDirectory(const std::string& path) const;
    bool LookAt(std::string path, Changes& changes) const;

    Listing m_files;
    Listing m_dirs;
    // Every directory could be listed, and no two of their entries are one entry here.
    bool m_isExact = false;
};

}  // namespace zel
