#pragma once

#include "zel/core/Timer.h"
#include "zel/watch/FileWatcher.h"
#include "zel/watch/SettledFiles.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <utility>

namespace zel::test {

namespace fs = std::filesystem;
using Paths = std::set<std::string>;

constexpr int TIMEOUT = 30;  // seconds
constexpr double NEVER = 1e9;

inline void Write(const fs::path& path) {
    std::ofstream(path) << "text";
}

// Returns the paths in a directory; those of directories end with a separator.
inline Paths ListAll(const fs::path& root) {
    Paths paths;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root, ignored)) {
        const bool isDirectory = !entry.is_symlink() && entry.is_directory();
        paths.insert(entry.path().string() + (isDirectory ? "/" : ""));
    }
    return paths;
}

class WatchTest : public ::testing::Test {
protected:
    // In memory if possible, as tens of thousands of changes are made.
    const TemporaryFolder m_folder{fs::exists("/dev/shm") ? fs::path("/dev/shm")
                                                          : fs::temp_directory_path()};
    fs::path m_root = m_folder / "root";
};

class FileWatcherTest : public WatchTest {
protected:
    void Watch(double pollInterval = -1) {
        m_watcher = new FileWatcher(m_root.string().c_str(), true, true, pollInterval);
        const auto add = [this](const std::string& path) { m_seen.insert(path); };
        const auto remove = [this](const std::string& path) { m_seen.erase(path); };
        m_watcher->FileAdded.Connect(add);
        m_watcher->FileRemoved.Connect(remove);
        m_watcher->DirAdded.Connect([=](const std::string& path) { add(path + '/'); });
        m_watcher->DirRemoved.Connect([=](const std::string& path) { remove(path + '/'); });
    }

    // Ticks until the events add up to the current entries; returns false after a timeout.
    bool TicksUntilCurrent() {
        const Paths truth = ListAll(m_root);
        const Timer stopwatch;
        while (m_seen != truth && stopwatch.GetElapsedTime() < TIMEOUT) {
            m_watcher->Tick();
        }
        return m_seen == truth;
    }

    RCPtr<FileWatcher> m_watcher;
    Paths m_seen;
};

class SettledFilesTest : public WatchTest {
protected:
    SettledFilesTest() { fs::create_directory(m_root); }

    void Watch(double settleSeconds, bool reportExisting = true) {
        m_files = new SettledFiles(m_root.string().c_str(), reportExisting, true, settleSeconds);
        m_files->FileSettled.Connect([this](const std::string& path) {
            m_settled += fs::path(path).filename().string() + ' ';
        });
    }

    // Returns the files reported by some ticks, at least `count`.
    std::string Tick(std::size_t count) {
        const Timer stopwatch;
        do {
            m_files->Tick();
            m_files->Tick();
        } while (m_settled.size() < 2 * count && stopwatch.GetElapsedTime() < TIMEOUT);
        return std::exchange(m_settled, "");
    }

    RCPtr<SettledFiles> m_files;
    std::string m_settled;
};

}  // namespace zel::test
