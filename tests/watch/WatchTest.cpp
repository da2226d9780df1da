// A FileWatcher over the real system.

#include "tests/support/RecordingLogSink.h"
#include "tests/watch/WatchFixture.h"

#include <cstdlib>
#include <functional>
#include <future>
#include <random>

namespace zel::test {
namespace {

// Makes one change in two small trees, a move between them, or redirects the watched path to the
// other tree; or a change that may only be one of a file.
class Changer {
public:
    Changer(const fs::path& folder, unsigned seed) : m_folder(folder), m_random(seed) {
        fs::create_directories(folder / "here");
        fs::create_directories(folder / "there");
        Redirect("here");
        for (const char* const name : {"a", "b\n", "\xff", "d *", "e", "f g", "h;"}) {
            Write(folder / name);
            if (fs::remove(folder / name, m_ignored)) {
                m_names.emplace_back(name);
            }
        }
        m_names.resize(4);
    }

    // Systems without links of directories have the link as a directory.
    fs::path GetRoot() const { return m_folder / (m_hasLink ? "link" : "here") / "root"; }

    void Change(bool isOfFile) {
        const fs::path from = Pick();
        const fs::path to = Pick();
        const auto kind = m_random() % 8;
        if (isOfFile) {
            kind < 6 ? Write(to) : RemoveFile(from);
        } else if (kind == 0) {
            Redirect(m_random() % 2 == 0 ? "there/../here" : m_folder / "there");
        } else if (kind == 1) {
            fs::create_directory_symlink(to, from, m_ignored);
        } else if (kind == 2) {
            fs::remove_all(from, m_ignored);
        } else if (kind <= 4) {
            fs::rename(from, to, m_ignored);
        } else {
            fs::create_directories(from, m_ignored);
            Write(to);
        }
    }

private:
    void RemoveFile(const fs::path& path) {
        if (!fs::is_directory(fs::symlink_status(path, m_ignored))) {
            fs::remove(path, m_ignored);
        }
    }

    void Redirect(const fs::path& target) {
        fs::remove(m_folder / "link");
        fs::create_directory_symlink(target, m_folder / "link", m_ignored);
        m_hasLink = !m_ignored;
    }

    fs::path Pick() {
        fs::path path = m_folder / (m_random() % 4 == 0 ? "there" : "here") / "root";
        for (auto depth = m_random() % 16 == 0 ? 0 : m_random() % 4 + 1; depth > 0; --depth) {
            path /= m_names[m_random() % m_names.size()];
        }
        return path;
    }

    const fs::path m_folder;
    std::mt19937 m_random;
    bool m_hasLink = false;
    std::vector<std::string> m_names;  // that the system allows
    std::error_code m_ignored;
};

class RandomChangesTest : public FileWatcherTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(RandomChangesTest, AreAllSeenAfterEveryBurst) {
    Changer changer(m_folder / "", GetParam());
    m_root = changer.GetRoot();
    Watch(ZEL_POLL_INTERVAL);
    for (int burst = 1; burst <= 4 * ZEL_EFFORT; ++burst) {
        const std::future<void> changes = std::async(std::launch::async, [&] {
            for (int i = 0; i < 50; ++i) {
                changer.Change(burst % 2 == 0);
            }
        });
        while (changes.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            m_watcher->Tick();
        }
        ASSERT_TRUE(TicksUntilCurrent()) << burst;
    }
}

// Each seed makes 2000 changes on Linux; a soak test uses more seeds.
unsigned CountSeeds() {
    const char* const seeds = std::getenv("ZEL_RANDOM_SEEDS");
    return seeds == nullptr ? 2 * ZEL_EFFORT : static_cast<unsigned>(std::atoi(seeds));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomChangesTest, ::testing::Range(1U, CountSeeds() + 1));

TEST_F(FileWatcherTest, FollowsThePathAndWaitsWhileItIsMissing) {
    Watch();
    const fs::path aside = m_folder / "aside";
    for (const char* const name : {"f", "g", "h"}) {
        m_watcher->Tick();
        const Timer stopwatch;
        m_watcher->Tick();
        EXPECT_GE(stopwatch.GetElapsedTime(), 0.05) << name;
        fs::create_directory(m_root);
        EXPECT_TRUE(TicksUntilCurrent()) << name;
        Write(m_root / name);
        EXPECT_TRUE(TicksUntilCurrent()) << name;
        fs::rename(m_root, aside);
        EXPECT_TRUE(TicksUntilCurrent()) << name;
        fs::rename(aside, m_root);
        EXPECT_TRUE(TicksUntilCurrent()) << name;
        fs::remove_all(m_root);
        EXPECT_TRUE(TicksUntilCurrent()) << name;
    }
}

TEST_F(FileWatcherTest, LosesNothingIfTheEventQueueOverflows) {
    fs::create_directory(m_root);
    Watch(ZEL_POLL_INTERVAL);
    m_watcher->Tick();
    for (int i = 0; i < 1000 * ZEL_EFFORT; ++i) {
        Write(m_root / "f");
        fs::remove(m_root / "f");
    }
    fs::create_directories(m_root / "late/one");
    EXPECT_TRUE(TicksUntilCurrent());
    Write(m_root / "late/one/f");
    EXPECT_TRUE(TicksUntilCurrent());
}

TEST_F(FileWatcherTest, IgnoresWhatDoesNotChangeANameBelowThePath) {
    fs::create_directory(m_root);
    Write(m_root / "f");
    Watch();
    EXPECT_TRUE(TicksUntilCurrent());
    Write(m_root / "f");
    fs::permissions(m_root / "f", fs::perms::owner_read);
    fs::permissions(m_root / "f", fs::perms::owner_all);  // Windows removes no read-only file
    Write(m_folder / "beside");
    const ScopedLogger log;
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
    EXPECT_TRUE(seen.Wait(1000 * TIMEOUT));
    m_watcher->RequestStop();
    m_watcher->Join();
}

}  // namespace
}  // namespace zel::test
