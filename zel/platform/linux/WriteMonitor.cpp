#include "zel/platform/WriteMonitor.h"

#include "zel/platform/linux/Inotify.h"

#include <cerrno>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zel::platform {

namespace {

class InotifyWriteMonitor final : public WriteMonitor {
public:
    void Add(const std::string& directory) override {
        constexpr std::uint32_t use = IN_OPEN | IN_CLOSE_WRITE | IN_CLOSE_NOWRITE;
        const int watch =
            m_inotify.Open() ? m_inotify.Add(directory, NAME_CHANGES | use) : Inotify::NONE;
        m_error = watch == Inotify::NONE ? errno : 0;
        int& known = m_watches.try_emplace(directory, Inotify::NONE).first->second;
        if (known != watch) {
            Unwatch(known, directory);
        }
        if (watch == Inotify::NONE) {
            return;  // the number stays, so that a later directory is recognised as another one
        }
        if (known != Inotify::NONE && known != watch) {
            m_replaced.push_back(directory);
        }
        known = watch;
        m_directories[watch] = directory;
    }

    std::string GetWarning() const override {
        const bool isLimit = m_error == EMFILE || m_error == ENFILE || m_error == ENOSPC;
        return isLimit ? Inotify::DescribeLimit(m_error) : "";
    }

    void Remove(const std::string& directory) override {
        if (const auto watch = m_watches.extract(directory)) {
            Unwatch(watch.mapped(), directory);
        }
    }

    bool Poll(const Handler& handle) override {
        m_inotify.HandleEvents([this](const Inotify::Event& event) { Record(event); });
        if (m_mustRenew) {
            Renew();
        }
        // Stays false if the handler throws, so that the next call reports the loss.
        const bool isComplete = std::exchange(m_isComplete, false);
        for (const std::string& directory : std::exchange(m_replaced, {})) {
            handle(directory, Event::Replaced);
        }
        for (const FileEvent& event : std::exchange(m_events, {})) {
            const auto directory = m_directories.find(event.watch);
            if (directory != m_directories.end()) {
                handle(directory->second + '/' + event.name, ToEvent(event.flags));
            }
        }
        m_isComplete = true;
        return isComplete;
    }

private:
    struct FileEvent {
        int watch;
        std::uint32_t flags;
        std::string name;
    };

    static constexpr std::uint32_t NAME_CHANGES =
        IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;

    // A watch follows its directory when that is renamed, and may have been added again since.
    void Unwatch(int watch, const std::string& directory) {
        const auto found = m_directories.find(watch);
        if (found != m_directories.end() && found->second == directory) {
            m_inotify.Remove(watch);
            m_directories.erase(found);
        }
    }

    // Adds all directories again, as any of them may have been replaced, and then removes the
    // watches that none of them has.
    void Renew() {
        const auto before = std::exchange(m_directories, {});
        for (const auto& [directory, watch] : m_watches) {
            Add(directory);
        }
        for (const auto& [watch, directory] : before) {
            if (!m_directories.contains(watch)) {
                m_inotify.Remove(watch);
            }
        }
        m_mustRenew = false;
    }

    void Record(const Inotify::Event& event) noexcept {
        try {
            if ((event.flags & IN_Q_OVERFLOW) != 0) {
                m_isComplete = false;
                m_mustRenew = true;
            } else if ((event.flags & IN_IGNORED) != 0) {
                m_directories.erase(event.watch);
            } else if ((event.flags & IN_ISDIR) != 0) {
                m_mustRenew = m_mustRenew || (event.flags & NAME_CHANGES) != 0;
            } else if (!event.name.empty()) {
                m_events.push_back({event.watch, event.flags, std::string(event.name)});
            }
        } catch (...) {
            m_isComplete = false;
        }
    }

    static Event ToEvent(std::uint32_t flags) noexcept {
        constexpr std::pair<std::uint32_t, Event> events[] = {
            {IN_CREATE, Event::Created},
            {IN_OPEN, Event::Opened},
            {IN_CLOSE_WRITE, Event::ClosedAfterWriting},
            {IN_CLOSE_NOWRITE, Event::ClosedAfterReading},
            {IN_MOVED_TO, Event::MovedIn},
        };
        for (const auto& [flag, event] : events) {
            if ((flags & flag) != 0) {
                return event;
            }
        }
        return Event::Removed;
    }

    Inotify m_inotify;
    // The last watch of each directory, and the directories of the watches that exist.
    std::unordered_map<std::string, int> m_watches;
    std::unordered_map<int, std::string> m_directories;
    std::vector<std::string> m_replaced;
    // Without paths until Poll has renewed the directories, as these may have been renamed since.
    std::vector<FileEvent> m_events;
    bool m_isComplete = true;
    bool m_mustRenew = false;
    int m_error = 0;  // of the last Add
};

}  // namespace

std::unique_ptr<WriteMonitor> OpenWriteMonitor() {
    return std::make_unique<InotifyWriteMonitor>();
}

// Only for files of the same user, by leases.
bool IsOpenForWriting(const std::string&) noexcept {
    return false;
}

}  // namespace zel::platform
