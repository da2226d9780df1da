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
        constexpr std::uint32_t names = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
        constexpr std::uint32_t use = IN_OPEN | IN_CLOSE_WRITE | IN_CLOSE_NOWRITE;
        const int watch = m_inotify.Open() ? m_inotify.Add(directory, names | use) : Inotify::NONE;
        m_error = watch == Inotify::NONE ? errno : 0;
        const auto known = m_watches.find(directory);
        if (known != m_watches.end() && known->second != watch) {
            Remove(directory);
        }
        if (watch != Inotify::NONE) {
            m_watches[directory] = watch;
            m_directories[watch] = directory;
        }
    }

    std::string GetWarning() const override {
        const bool isLimit = m_error == EMFILE || m_error == ENFILE || m_error == ENOSPC;
        return isLimit ? Inotify::DescribeLimit(m_error) : "";
    }

    // A watch follows its directory when that is renamed, and may have been added again since.
    void Remove(const std::string& directory) override {
        const auto watch = m_watches.extract(directory);
        const auto found = watch ? m_directories.find(watch.mapped()) : m_directories.end();
        if (found != m_directories.end() && found->second == directory) {
            m_inotify.Remove(found->first);
            m_directories.erase(found);
        }
    }

    bool Poll(const Handler& handle) override {
        m_inotify.HandleEvents([this](const Inotify::Event& event) { Record(event); });
        // Stays false if the handler throws, so that the next call reports the loss.
        const bool isComplete = std::exchange(m_isComplete, false);
        for (const auto& [path, event] : std::exchange(m_events, {})) {
            handle(path, event);
        }
        m_isComplete = true;
        return isComplete;
    }

private:
    void Record(const Inotify::Event& event) noexcept {
        try {
            if ((event.flags & IN_IGNORED) != 0) {
                m_directories.erase(event.watch);
            } else if (event.name.empty() || (event.flags & IN_ISDIR) != 0) {
                m_isComplete = m_isComplete && (event.flags & IN_Q_OVERFLOW) == 0;
            } else {
                RecordFile(event);
            }
        } catch (...) {
            m_isComplete = false;
        }
    }

    void RecordFile(const Inotify::Event& event) {
        const auto directory = m_directories.find(event.watch);
        if (directory != m_directories.end()) {
            m_events.emplace_back(directory->second + '/' + std::string(event.name),
                                  ToEvent(event.flags));
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
    std::unordered_map<std::string, int> m_watches;
    std::unordered_map<int, std::string> m_directories;
    std::vector<std::pair<std::string, Event>> m_events;
    bool m_isComplete = true;
    int m_error = 0;  // of the last Add
};

}  // namespace

std::unique_ptr<WriteMonitor> OpenWriteMonitor() {
    return std::make_unique<InotifyWriteMonitor>();
}

}  // namespace zel::platform
