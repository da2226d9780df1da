// The watcher over the real system.

#include "zel/watch/FileWatcher.h"

#include "zel/core/Timer.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/RunInChild.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <random>
#include <sched.h>
#include <set>
#include <sys/resource.h>
#include <unistd.h>

namespace zel {
namespace {

namespace fs = std::filesystem;
using Paths = std::set<std::string>;

constexpr std::chrono::seconds TIMEOUT(30);

void Touch(const fs::path& path) {
    std::ofstream(path) << "text";
}

// Returns the paths in a directory; those of directories end with a separator.
Paths ListAll(const fs::path& root) {
    Paths paths;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root, ignored)) {
        const bool isDirectory = !entry.is_symlink() && entry.is_directory();
        paths.insert(entry.path().string() + (isDirectory ? "/" : ""));
    }
    return paths;
}

class FileWatcherTest : public ::testing::Test {
protected:
    void Watch() {
        m_watcher = new FileWatcher(m_root.c_str(), true, true, -1);
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
        const auto end = std::chrono::steady_clock::now() + TIMEOUT;
        while (m_seen != truth && std::chrono::steady_clock::now() < end) {
            m_watcher->Tick();
        }
        return m_seen == truth;
    }

    // In memory if possible, as tens of thousands of changes are made.
    const test::TemporaryFolder m_folder{fs::exists("/dev/shm") ? fs::path("/dev/shm")
                                                                : fs::temp_directory_path()};
    fs::path m_root = m_folder / "root";
    RCPtr<FileWatcher> m_watcher;
    Paths m_seen;
};

// Makes one change in two small trees, a move between them, or redirects the watched path to the
// other tree.
void Change(std::mt19937& random, const fs::path& folder) {
    const auto pick = [&] {
        static const char* const s_names[] = {"a", "b\n", "\xff", "d *"};
        fs::path path = folder / (random() % 4 == 0 ? "there" : "here") / "root";
        for (auto depth = random() % 16 == 0 ? 0 : random() % 4 + 1; depth > 0; --depth) {
            path /= s_names[random() % std::size(s_names)];
        }
        return path;
    };
    std::error_code ignored;
    const fs::path from = pick();
    const fs::path to = pick();
    const auto kind = random() % 8;
    if (kind == 0) {
        fs::remove(folder / "link");
        fs::create_directory_symlink(random() % 2 == 0 ? "there/../here" : folder / "there",
                                     folder / "link");
    } else if (kind == 1) {
        fs::create_directory_symlink(to, from, ignored);
    } else if (kind == 2) {
        fs::remove_all(from, ignored);
    } else if (kind <= 4) {
        fs::rename(from, to, ignored);
    } else {
        fs::create_directories(from, ignored);
        Touch(to);
    }
}

class RandomChangesTest : public FileWatcherTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(RandomChangesTest, AreAllSeenAfterEveryBurst) {
    fs::create_directories(m_folder / "here");
    fs::create_directories(m_folder / "there");
    fs::create_directory_symlink("here", m_folder / "link");
    m_root = m_folder / "link/root";
    Watch();
    std::mt19937 random(GetParam());
    for (int burst = 1; burst <= 40; ++burst) {
        const std::future<void> changes = std::async(std::launch::async, [&] {
            for (int i = 0; i < 50; ++i) {
                Change(random, m_folder / "");
            }
        });
        while (changes.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            m_watcher->Tick();
        }
        ASSERT_TRUE(TicksUntilCurrent()) << burst;
    }
}

// Each seed makes 2000 changes; a soak test uses more seeds.
unsigned CountSeeds() {
    const char* const seeds = std::getenv("ZEL_RANDOM_SEEDS");
    return seeds == nullptr ? 20 : static_cast<unsigned>(std::atoi(seeds));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomChangesTest, ::testing::Range(1U, CountSeeds() + 1));

TEST_F(FileWatcherTest, LosesNothingIfTheEventQueueOverflows) {
    fs::create_directory(m_root);
    Watch();
    m_watcher->Tick();
    for (int i = 0; i < 10'000; ++i) {
        Touch(m_root / "f");
        fs::remove(m_root / "f");
    }
    fs::create_directories(m_root / "late/one");
    EXPECT_TRUE(TicksUntilCurrent());
    Touch(m_root / "late/one/f");
    EXPECT_TRUE(TicksUntilCurrent());
}

TEST_F(FileWatcherTest, IgnoresWhatDoesNotChangeANameBelowThePath) {
    fs::create_directory(m_root);
    Touch(m_root / "f");
    Watch();
    EXPECT_TRUE(TicksUntilCurrent());
    Touch(m_root / "f");
    fs::permissions(m_root / "f", fs::perms::owner_read);
    Touch(m_folder / "beside");
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("FileWatcher", 5);
    const Timer stopwatch;
    m_watcher->Tick();
    EXPECT_EQ(log.sink->TakeText().find("\n5 FileWatcher Nothing to do"), 0);
    EXPECT_GE(stopwatch.GetElapsedTime(), 0.05) << "it waits for a notice";
}

TEST_F(FileWatcherTest, ReportsOnItsThreadUntilStopped) {
    Watch();
    Event seen(Event::ManualReset);
    m_watcher->DirAdded.Connect([&](const std::string&) { seen.Set(true); });
    m_watcher->Start();
    fs::create_directories(m_root / "d");
    EXPECT_TRUE(seen.Wait(30'000));
    m_watcher->RequestStop();
    m_watcher->Join();
    EXPECT_EQ(m_seen, ListAll(m_root));
}

bool SetLimit(const std::string& name, unsigned value) {
    if (name == "RLIMIT_NOFILE") {
        const rlimit limit = {value, 1000};
        return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
    }
    std::ofstream file("/proc/sys/user/" + name);
    return static_cast<bool>(file << value << std::flush);
}

TEST_F(FileWatcherTest, ListsAtIntervalsIfALimitIsReachedAndNamesIt) {
    const struct {
        const char* name;
        unsigned tight;
        unsigned loose;
        const char* reported;
    } rows[] = {
        {"max_inotify_watches", 12, 10'000, "fs.inotify.max_user_watches"},
        {"max_inotify_instances", 0, 10, "fs.inotify.max_user_instances"},
#if !defined(__SANITIZE_ADDRESS__)  // its checks need descriptors
        {"RLIMIT_NOFILE", 0, 1000, "RLIMIT_NOFILE"},
#endif
    };
    constexpr int cannotLimit = 77;
    const fs::path deepest = m_root / "a/b/c/d/e/f/g/h/i/j/k/l/m";
    for (const auto& row : rows) {
        fs::remove_all(m_root);
        fs::create_directories(deepest);
        const int status = test::RunInChild([&] {
            const test::ScopedLogger log;
            if (::unshare(CLONE_NEWUSER) != 0 || !SetLimit(row.name, row.tight)) {
                return cannotLimit;
            }
            Watch();
            m_watcher->Tick();
            m_watcher->InitChangeHandle();
            const std::string text = log.sink->TakeText();
            EXPECT_TRUE(text.rfind('\n') == 0 && text.find(row.reported) != std::string::npos);
            Touch(deepest / "while degraded");
            SetLimit(row.name, row.loose);
            EXPECT_TRUE(TicksUntilCurrent());
            Touch(deepest / "later");
            EXPECT_TRUE(TicksUntilCurrent());
            EXPECT_EQ(log.sink->TakeText(), "");
            return HasFailure() ? 1 : 0;
        });
        if (status == cannotLimit) {
            GTEST_SKIP() << "no permission to lower " << row.reported;
        }
        EXPECT_EQ(status, 0) << row.reported;
    }
}

}  // namespace
}  // namespace zel
