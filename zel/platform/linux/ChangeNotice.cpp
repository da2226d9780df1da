#include "zel/platform/ChangeNotice.h"

#include "zel/platform/DirectoryWalk.h"
#include "zel/platform/linux/Inotify.h"
#include "zel/platform/linux/PathResolution.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <new>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zel::platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds DEGRADED_INTERVAL(2);

// Beyond this number a complete listing is faster than looking at single entries.
constexpr std::size_t MAX_CHANGES = 10'000;

// The directory at the path may be deleted, recreated, renamed or replaced, so each ancestor is
// watched for the name of the next component.
//
// After a directory was added to the tree, the whole tree is walked again. Watching a watched
// directory has no effect, and a watch survives renames. Each directory is watched before it is
// read: an entry added earlier is read, and one added later is an event, which causes another walk.
//
// The path of a directory is that of the last walk. It is wrong only after a directory was renamed,
// and then another walk is due, after which any entry may have changed.
class InotifyNotice final : public ChangeNotice {
    using Names = std::vector<std::string>;

public:
    InotifyNotice(std::string path, bool recursive)
        : m_path(std::move(path)), m_recursive(recursive) {
        Arm();
    }

    bool Wait(int milliseconds) override {
        const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
        bool isOver = false;
        while (!m_isSignalled && !isOver) {
            const Clock::time_point now = Clock::now();
            const Clock::time_point wake = IsDegraded() ? std::min(end, m_nextSignal) : end;
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(wake - now);
            if (m_inotify.WaitForEvents(std::max(static_cast<int>(left.count()), 0))) {
                m_inotify.HandleEvents([this](const Inotify::Event& event) { Handle(event); });
            }
            m_isSignalled |= IsIntervalElapsed();
            isOver = Clock::now() >= end;
        }
        return m_isSignalled;
    }

    bool Rearm() override {
        if (m_mustArm || IsIntervalElapsed()) {
            m_mayAllHaveChanged = true;
            Arm();
        }
        m_isSignalled = false;
        return true;
    }

    std::optional<Names> TakeChanges() noexcept override {
        Names changes = std::exchange(m_changes, {});
        const bool mayAll = std::exchange(m_mayAllHaveChanged, false) || m_hasUnknownChanges;
        return mayAll || IsDegraded() ? std::nullopt : std::optional(std::move(changes));
    }

    std::string GetWarning() const override {
        return IsDegraded() ? m_degradedReason + "; it is listed every 2 seconds instead" : "";
    }

private:
    struct Directory {
        unsigned generation = 0;  // of the walk that found it last
        std::string prefix;       // of the paths of its entries
    };

    bool IsDegraded() const noexcept { return !m_degradedReason.empty(); }
    bool IsIntervalElapsed() const noexcept { return IsDegraded() && Clock::now() >= m_nextSignal; }

    void Arm() {
        // Stays set if anything below throws, so that the next Rearm starts over.
        m_mustArm = true;
        m_degradedReason.clear();
        m_hasUnknownChanges = false;
        m_nextSignal = Clock::now() + DEGRADED_INTERVAL;
        ++m_generation;
        for (auto& [watch, names] : m_ancestors) {
            names.clear();
        }
        m_root = Inotify::NONE;
        if (m_inotify.Open()) {
            WatchAll();
            RemoveStaleWatches();
        } else {
            m_degradedReason = Inotify::DescribeLimit(errno);
        }
        m_mustArm = false;
    }

    void WatchAll() {
        bool isDenied = false;
        const std::optional<std::string> root =
            ResolvePath(m_path, [&](const std::string& directory, const std::string& name) {
                const int watch = Watch(directory);
                isDenied = watch == Inotify::NONE && errno == EACCES;
                if (watch != Inotify::NONE) {
                    m_ancestors[watch].push_back(name);
                }
            });
        if (root) {
            m_root = Watch(*root);
            isDenied = m_root == Inotify::NONE && errno == EACCES;
        }
        if (m_root != Inotify::NONE) {
            WatchTree(*root);
        } else if (isDenied && !IsDegraded()) {
            m_degradedReason = "the permissions of its directory deny a watch";
        }
    }

    void WatchTree(const std::string& root) {
        Add(m_root, "");
        std::vector<std::string> unvisited;
        if (m_recursive) {
            ListSubdirectories(root, unvisited);
        }
        // While degraded the tree is listed at intervals anyway: watching the rest has no use.
        while (!unvisited.empty() && !IsDegraded()) {
            const std::string directory = std::move(unvisited.back());
            unvisited.pop_back();
            const int watch = Watch(directory);
            if (watch != Inotify::NONE) {
                Add(watch, directory.substr(root.size() + 1) + '/');
                ListSubdirectories(directory, unvisited);
            } else {
                m_hasUnknownChanges |= errno != ENOENT;
            }
        }
    }

    // A directory that is mounted in two places has one watch.
    void Add(int watch, std::string prefix) {
        Directory& directory = m_tree[watch];
        m_hasUnknownChanges |= directory.generation == m_generation;
        directory = {m_generation, std::move(prefix)};
    }

    void ListSubdirectories(const std::string& directory, std::vector<std::string>& found) {
        DirectoryWalk walk(directory, DirectoryWalk::Link::Refuse);
        if (walk.IsOutOfResources()) {
            m_degradedReason = Inotify::DESCRIPTOR_LIMIT;
        }
        DirectoryEntry entry;
        while (walk.Next(entry)) {
            if (entry.isDirectory && entry.name != "." && entry.name != "..") {
                found.emplace_back(directory + '/').append(entry.name);
            }
        }
    }

    int Watch(const std::string& directory) {
        constexpr std::uint32_t names = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
        constexpr std::uint32_t itself = IN_DELETE_SELF | IN_MOVE_SELF;
        const int watch = m_inotify.Add(directory, names | itself | IN_DONT_FOLLOW);
        if (watch == Inotify::NONE && (errno == ENOSPC || errno == ENOMEM)) {
            m_degradedReason = Inotify::DescribeLimit(errno);
        }
        return watch;
    }

    void RemoveStaleWatches() {
        std::erase_if(m_ancestors, [this](const auto& entry) {
            const bool isStale = entry.second.empty();
            if (isStale && !m_tree.contains(entry.first)) {
                m_inotify.Remove(entry.first);
            }
            return isStale;
        });
        std::erase_if(m_tree, [this](const auto& entry) {
            const bool isStale = entry.second.generation != m_generation;
            if (isStale && !m_ancestors.contains(entry.first)) {
                m_inotify.Remove(entry.first);
            }
            return isStale;
        });
    }

    void Handle(const Inotify::Event& event) noexcept {
        constexpr std::uint32_t selfEvents =
            IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED | IN_Q_OVERFLOW;
        if ((event.flags & selfEvents) == 0) {
            HandleName(event);
        } else {
            HandleSelf(event);
        }
    }

    void HandleName(const Inotify::Event& event) noexcept {
        if (IsPathComponent(event)) {
            m_isSignalled = true;
            m_mustArm = true;
        } else if (const auto found = m_tree.find(event.watch); found != m_tree.end()) {
            m_isSignalled = true;
            if ((event.flags & IN_ISDIR) != 0) {
                constexpr std::uint32_t moves = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM;
                m_mayAllHaveChanged = true;
                m_mustArm |= m_recursive && (event.flags & moves) != 0;
            } else if (!m_mayAllHaveChanged) {
                Record(found->second, event.name);
            }
        }
    }

    void Record(const Directory& directory, std::string_view name) noexcept {
        try {
            m_changes.emplace_back(directory.prefix).append(name);
            m_mayAllHaveChanged = m_changes.size() > MAX_CHANGES;
        } catch (const std::bad_alloc&) {
            m_mayAllHaveChanged = true;
        }
    }

    bool IsPathComponent(const Inotify::Event& event) const noexcept {
        const auto found = m_ancestors.find(event.watch);
        return found != m_ancestors.end() && std::find(found->second.begin(), found->second.end(),
                                                       event.name) != found->second.end();
    }

    // The removal of a directory within the tree is an event of its parent and ignored here.
    void HandleSelf(const Inotify::Event& event) noexcept {
        const bool isPath = event.watch == m_root || m_ancestors.contains(event.watch);
        const bool isLoss = (event.flags & (IN_Q_OVERFLOW | IN_UNMOUNT)) != 0;
        if (isPath || isLoss) {
            m_isSignalled = true;
            m_mustArm = true;
        }
        if ((event.flags & IN_IGNORED) != 0) {
            m_tree.erase(event.watch);
            m_ancestors.erase(event.watch);
            m_root = m_root == event.watch ? Inotify::NONE : m_root;
        }
    }

    const std::string m_path;
    const bool m_recursive;
    Inotify m_inotify;
    // Watched ancestors of the directory, with the name of the next component in each.
    std::unordered_map<int, Names> m_ancestors;
    int m_root = Inotify::NONE;
    // The directory and its subdirectories by their watches.
    std::unordered_map<int, Directory> m_tree;
    unsigned m_generation = 0;
    Names m_changes;
    bool m_mayAllHaveChanged = false;
    // Some directories are not watched, or have several paths.
    bool m_hasUnknownChanges = false;
    bool m_mustArm = false;
    bool m_isSignalled = false;
    // Why the notice signals at intervals; empty if all directories are watched.
    std::string m_degradedReason;
    Clock::time_point m_nextSignal;
};

}  // namespace

std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string& path, bool recursive) {
    return std::make_unique<InotifyNotice>(path, recursive);
}

}  // namespace zel::platform
