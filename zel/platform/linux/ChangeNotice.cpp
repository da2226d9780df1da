#include "zel/platform/ChangeNotice.h"

#include "zel/platform/DirectoryWalk.h"
#include "zel/platform/linux/Inotify.h"
#include "zel/platform/linux/PathTrail.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zel::platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds TIME_BETWEEN_LOOKS(2);

// Whether it is the process, or the system, that has no descriptor left.
bool LacksDescriptors() {
    return !Descriptor(::open("/", O_PATH | O_CLOEXEC)).IsOpen();
}

constexpr const char* DESCRIPTOR_LIMIT =
    "the limit of open descriptors, RLIMIT_NOFILE, is reached; ulimit -n raises it, up to sysctl "
    "fs.nr_open";

// Which limit a call for inotify has hit, and what raises it.
std::string NameLimit(int error) {
    switch (error) {
        case EMFILE:
            return LacksDescriptors() ? DESCRIPTOR_LIMIT
                                      : "the limit of inotify instances is reached; sysctl "
                                        "fs.inotify.max_user_instances raises it";
        case ENFILE:
            return "the system's limit of open files is reached; sysctl fs.file-max raises it";
        case ENOSPC:
            return "the limit of inotify watches is reached; sysctl "
                   "fs.inotify.max_user_watches raises it";
        default:
            return std::strerror(error);
    }
}

// The directory at the path may go, come back, be renamed or be another one tomorrow, so each
// directory on the way to it is watched for the one name that matters there.
//
// A directory that has come into the tree is found by going over the whole tree once more: watching
// one that is watched changes nothing, and its own number is all that is to be kept of it, however
// often it is renamed. Each directory is watched before it is read. So what comes into it earlier
// is read and what comes later is an event, which leads here again.
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
            const Clock::time_point wake = IsBlind() ? std::min(end, m_nextLook) : end;
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(wake - now);
            if (m_inotify.WaitForEvents(std::max(static_cast<int>(left.count()), 0))) {
                m_inotify.TakeEvents([this](const Inotify::Happening& event) { Take(event); });
            }
            m_isSignalled |= IsTimeToLook();
            isOver = Clock::now() >= end;
        }
        return m_isSignalled;
    }

    bool Rearm() override {
        if (m_mustArm || IsTimeToLook()) {
            Arm();
        }
        m_isSignalled = false;
        return true;
    }

    std::string GetWarning() const override {
        return IsBlind() ? m_blindness + "; it is listed every 2 seconds instead" : "";
    }

private:
    using Names = std::vector<std::string>;

    bool IsBlind() const noexcept { return !m_blindness.empty(); }
    bool IsTimeToLook() const noexcept { return IsBlind() && Clock::now() >= m_nextLook; }

    void Arm() {
        // Whatever fails below, the next attempt begins anew.
        m_mustArm = true;
        m_blindness.clear();
        m_nextLook = Clock::now() + TIME_BETWEEN_LOOKS;
        ++m_arming;
        for (auto& [watch, names] : m_way) {
            names.clear();
        }
        m_root = Inotify::NONE;
        if (m_inotify.Open()) {
            WatchAll();
            DropWhatIsNoMoreMet();
        } else {
            m_blindness = NameLimit(errno);
        }
        m_mustArm = false;
    }

    void WatchAll() {
        bool isEndBlocked = false;
        const std::optional<std::string> root =
            FollowPath(m_path, [&](const std::string& directory, const std::string& name) {
                const int watch = Watch(directory);
                isEndBlocked = watch == Inotify::NONE && errno == EACCES;
                if (watch != Inotify::NONE) {
                    m_way[watch].push_back(name);
                }
            });
        if (root) {
            m_root = Watch(*root);
            isEndBlocked = m_root == Inotify::NONE && errno == EACCES;
        }
        if (m_root != Inotify::NONE) {
            WatchTree(*root);
        } else if (isEndBlocked && !IsBlind()) {
            m_blindness = "the permissions of its directory keep watches out";
        }
    }

    void WatchTree(const std::string& root) {
        m_tree[m_root] = m_arming;
        std::vector<std::string> ahead;
        if (m_recursive) {
            FindBelow(root, ahead);
        }
        // A tree that can't be watched as a whole isn't worth the time to watch the most of it.
        while (!ahead.empty() && !IsBlind()) {
            const std::string directory = std::move(ahead.back());
            ahead.pop_back();
            const int watch = Watch(directory);
            if (watch != Inotify::NONE) {
                m_tree[watch] = m_arming;
                FindBelow(directory, ahead);
            }
        }
    }

    void FindBelow(const std::string& directory, std::vector<std::string>& found) {
        DirectoryWalk walk(directory, DirectoryWalk::Link::Refuse);
        if (walk.LacksMeans()) {
            m_blindness = DESCRIPTOR_LIMIT;
        }
        DirectoryEntry entry;
        while (walk.Next(entry)) {
            if (entry.isDirectory && entry.name != "." && entry.name != "..") {
                found.emplace_back(directory + '/').append(entry.name);
            }
        }
    }

    int Watch(const std::string& directory) {
        const int watch = m_inotify.Add(directory);
        if (watch == Inotify::NONE && (errno == ENOSPC || errno == ENOMEM)) {
            m_blindness = NameLimit(errno);
        }
        return watch;
    }

    void DropWhatIsNoMoreMet() {
        std::erase_if(m_way, [this](const auto& entry) {
            const bool isOld = entry.second.empty();
            if (isOld && !m_tree.contains(entry.first)) {
                m_inotify.Remove(entry.first);
            }
            return isOld;
        });
        std::erase_if(m_tree, [this](const auto& entry) {
            const bool isOld = entry.second != m_arming;
            if (isOld && !m_way.contains(entry.first)) {
                m_inotify.Remove(entry.first);
            }
            return isOld;
        });
    }

    void Take(const Inotify::Happening& event) noexcept {
        constexpr std::uint32_t itself =
            IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED | IN_Q_OVERFLOW;
        if ((event.flags & itself) == 0) {
            TakeName(event);
        } else {
            TakeItself(event);
        }
    }

    void TakeName(const Inotify::Happening& event) noexcept {
        if (IsStepOfWay(event)) {
            m_isSignalled = true;
            m_mustArm = true;
        } else if (m_tree.contains(event.watch)) {
            constexpr std::uint32_t moves = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM;
            m_isSignalled = true;
            m_mustArm |= m_recursive && (event.flags & IN_ISDIR) != 0 && (event.flags & moves) != 0;
        }
    }

    bool IsStepOfWay(const Inotify::Happening& event) const noexcept {
        const auto found = m_way.find(event.watch);
        return found != m_way.end() && std::find(found->second.begin(), found->second.end(),
                                                 event.name) != found->second.end();
    }

    // Of a directory that goes within the tree the one above it tells.
    void TakeItself(const Inotify::Happening& event) noexcept {
        const bool isPath = event.watch == m_root || m_way.contains(event.watch);
        const bool isLoss = (event.flags & (IN_Q_OVERFLOW | IN_UNMOUNT)) != 0;
        if (isPath || isLoss) {
            m_isSignalled = true;
            m_mustArm = true;
        }
        if ((event.flags & IN_IGNORED) != 0) {
            m_tree.erase(event.watch);
            m_way.erase(event.watch);
            m_root = m_root == event.watch ? Inotify::NONE : m_root;
        }
    }

    const std::string m_path;
    const bool m_recursive;
    Inotify m_inotify;
    // The directories on the way to the watched one, with the names that matter in them.
    std::unordered_map<int, Names> m_way;
    int m_root = Inotify::NONE;
    // The watched directory and all below it, each with the arming that met it last.
    std::unordered_map<int, unsigned> m_tree;
    unsigned m_arming = 0;
    bool m_mustArm = false;
    bool m_isSignalled = false;
    // Why not everything can be watched; empty if it is.
    std::string m_blindness;
    Clock::time_point m_nextLook;
};

}  // namespace

std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string& path, bool recursive) {
    return std::make_unique<InotifyNotice>(path, recursive);
}

}  // namespace zel::platform
