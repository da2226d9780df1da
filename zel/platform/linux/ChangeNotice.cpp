#include "zel/platform/ChangeNotice.h"

#include "zel/platform/DirectoryWalk.h"
#include "zel/platform/linux/Inotify.h"
#include "zel/platform/linux/PathResolution.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zel::platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds DEGRADED_INTERVAL(2);

// The directory at the path may be deleted, recreated, renamed or replaced, so each ancestor is
// watched for the name of the next component.
//
// After a directory was added to the tree, the whole tree is walked again. Watching a watched
// directory has no effect, and a watch survives renames, so only watch numbers are kept. Each
// directory is watched before it is read: an entry added earlier is read, and one added later is an
// event, which causes another walk.
class InotifyNotice final : public ChangeNotice {
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
            Arm();
        }
        m_isSignalled = false;
        return true;
    }

    std::string GetWarning() const override {
        return IsDegraded() ? m_degradedReason + "; it is listed every 2 seconds instead" : "";
    }

private:
    using Names = std::vector<std::string>;

    bool IsDegraded() const noexcept { return !m_degradedReason.empty(); }
    bool IsIntervalElapsed() const noexcept { return IsDegraded() && Clock::now() >= m_nextSignal; }

    void Arm() {
        // Stays set if anything below throws, so that the next Rearm starts over.
        m_mustArm = true;
        m_degradedReason.clear();
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
        m_tree[m_root] = m_generation;
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
                m_tree[watch] = m_generation;
                ListSubdirectories(directory, unvisited);
            }
        }
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
            const bool isStale = entry.second != m_generation;
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
        } else if (m_tree.contains(event.watch)) {
            constexpr std::uint32_t moves = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM;
            m_isSignalled = true;
            m_mustArm |= m_recursive && (event.flags & IN_ISDIR) != 0 && (event.flags & moves) != 0;
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
    // Watches of the directory and its subdirectories, with the generation that found them last.
    std::unordered_map<int, unsigned> m_tree;
    unsigned m_generation = 0;
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
