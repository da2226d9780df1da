#include "zel/foundation/Log.h"
#include "zel/platform/DirectoryWalk.h"
#include "zel/platform/NameOrder.h"
#include "zel/watch/Snapshot.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("FileWatcher", 3);

using platform::DirectoryWalk;

// The names in one directory, in the order of the paths in a listing: the sort key of a directory
// includes the separator that follows its name in the paths of its entries.
class SortedNames {
public:
    explicit SortedNames(DirectoryWalk& walk) {
        platform::DirectoryEntry entry;
        while (walk.Next(entry)) {
            if (!entry.isDirectory || (entry.name != "." && entry.name != "..")) {
                Add(entry);
            }
        }
        std::sort(m_names.begin(), m_names.end(), [this](const Name& a, const Name& b) {
            const int order = platform::CompareNames(KeyOf(a), KeyOf(b));
            // Breaks ties by bytes: of two names that are one entry the same is always listed.
            return order != 0 ? order < 0 : KeyOf(a) < KeyOf(b);
        });
    }

    template <class Visit>
    void ForEach(Visit visit) const {
        for (const Name& name : m_names) {
            visit(KeyOf(name).substr(0, name.length), name.length != name.keyLength);
        }
    }

private:
    struct Name {
        std::size_t start;
        std::size_t length;
        std::size_t keyLength;
    };

    void Add(const platform::DirectoryEntry& entry) {
        const std::size_t start = m_text.size();
        m_text += entry.name;
        if (entry.isDirectory) {
            m_text += DirectoryWalk::SEPARATOR;
        }
        m_names.push_back({start, entry.name.size(), m_text.size() - start});
    }

    std::string_view KeyOf(const Name& name) const {
        return std::string_view(m_text).substr(name.start, name.keyLength);
    }

    std::string m_text;
    std::vector<Name> m_names;
};

// Inserts paths into a set, without a search as long as they arrive in the order of the set.
class Inserter {
public:
    explicit Inserter(Listing& listing) : m_listing(listing), m_hint(listing.end()) {}

    void Insert(std::string path) {
        const std::size_t size = m_listing.size();
        const auto inserted = m_listing.emplace_hint(m_hint, std::move(path));
        // std::next of the last element climbs all levels of the tree.
        const bool isLast = &*inserted == &*m_listing.rbegin();
        m_hint = isLast ? m_listing.end() : std::next(inserted);
        m_isExact &= m_listing.size() != size;
    }

    std::size_t GetSize() const { return m_listing.size(); }

    // Returns whether no path was in the set already.
    bool IsExact() const { return m_isExact; }

private:
    Listing& m_listing;
    Listing::iterator m_hint;
    bool m_isExact = true;
};

class Lister {
public:
    Lister(bool recursive, Listing& files, Listing& dirs)
        : m_recursive(recursive), m_files(files), m_dirs(dirs) {}

    // Closes each directory before opening its subdirectories, as descriptors are limited.
    void List(const std::string& directory, DirectoryWalk::Link link) {
        Log(s_log, 6, "EnumFilesAndDirs: ", directory, " (",
            m_recursive ? "recursive" : "non-recursive", ")");
        ListNames(directory, link).ForEach([&](std::string_view name, bool isDirectory) {
            std::string path = Join(directory, name);
            if (!isDirectory) {
                m_files.Insert(std::move(path));
                return;
            }
            m_dirs.Insert(path);
            if (m_recursive) {
                List(path, DirectoryWalk::Link::Refuse);
            }
        });
        Log(s_log, 5, "EnumFilesAndDirs: found ", m_files.GetSize(), " files, and ",
            m_dirs.GetSize(), "dirs.");
    }

    // Returns whether all entries were listed, each as one of its own.
    bool IsExact() const { return m_isComplete && m_files.IsExact() && m_dirs.IsExact(); }

private:
    SortedNames ListNames(const std::string& directory, DirectoryWalk::Link link) {
        DirectoryWalk walk(directory, link);
        m_isComplete &= !walk.IsOutOfResources();
        return SortedNames(walk);
    }

    static std::string Join(const std::string& directory, std::string_view name) {
        std::string path;
        path.reserve(directory.size() + 1 + name.size());
        path += directory;
        path += DirectoryWalk::SEPARATOR;
        path += name;
        return path;
    }

    const bool m_recursive;
    Inserter m_files;
    Inserter m_dirs;
    bool m_isComplete = true;
};

}  // namespace

bool StrcmpiPred::operator()(const std::string& a, const std::string& b) const noexcept {
    return platform::CompareNames(a, b) < 0;
}

void FileWatcher::EnumFilesAndDirs(const char* dir, bool recursive,
                                   std::set<std::string, StrcmpiPred>* files,
                                   std::set<std::string, StrcmpiPred>* dirs) {
    Lister(recursive, *files, *dirs).List(dir, DirectoryWalk::Link::Follow);
}

void Snapshot::List(const std::string& directory, bool recursive) {
    Clear();
    Lister lister(recursive, m_files, m_dirs);
    lister.List(directory, DirectoryWalk::Link::Follow);
    m_isExact = lister.IsExact();
}

}  // namespace zel
