// The watcher over the system as it is.

#include "zel/watch/FileWatcher.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/RunInChild.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <random>
#include <sched.h>
#include <set>
#include <sys/resource.h>
#include <unistd.h>

namespace zel {
namespace {

namespace fs = std::filesystem;
using Paths = std::set<std::string>;

constexpr std::chrono::seconds longEnough(30);

void Touch(const fs::path& path) {
    std::ofstream(path) << "text";
}

// The paths in a directory, those of directories with a separator at their end.
Paths ListAll(const fs::path& root) {
    Paths paths;
    std::error_code isMissing;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root, isMissing)) {
        const bool isDirectory = !entry.is_symlink() && entry.is_directory();
        paths.insert(entry.path().string() + (isDirectory ? "/" : ""));
    }
    return paths;
}

class FileWatcherTest : public ::testing::Test {
protected:
    ~FileWatcherTest() override {
        if (m_watcher) {
            m_watcher->RequestStop();
            m_watcher->Join();
        }
    }

    void Watch() {
        m_watcher = new FileWatcher(m_root.c_str(), true, true, -1);
        const auto keep = [this](bool isThere, const char* end) {
            return [=, this](const std::string& entry) {
                const std::lock_guard lock(m_mutex);
                isThere ? void(m_seen.insert(entry + end)) : void(m_seen.erase(entry + end));
                m_changed.notify_all();
            };
        };
        m_watcher->FileAdded.Connect(keep(true, ""));
        m_watcher->FileRemoved.Connect(keep(false, ""));
        m_watcher->DirAdded.Connect(keep(true, "/"));
        m_watcher->DirRemoved.Connect(keep(false, "/"));
    }

    // Whether the events come to what is there now.
    bool TicksUntilTrue() {
        const Paths truth = ListAll(m_root);
        const auto end = std::chrono::steady_clock::now() + longEnough;
        while (m_seen != truth && std::chrono::steady_clock::now() < end) {
            m_watcher->Tick();
        }
        return m_seen == truth;
    }

    // A file system in memory, where there is one: tens of thousands of changes are made.
    const test::TemporaryFolder m_folder{fs::exists("/dev/shm") ? fs::path("/dev/shm")
                                                                : fs::temp_directory_path()};
    fs::path m_root = m_folder / "root";
    RCPtr<FileWatcher> m_watcher;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Paths m_seen;
};

// One change in two small trees, or a move between them; or the way to the watched path leads to
// the other one from now on.
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
    switch (random() % 8) {
        case 0:
            fs::remove(folder / "way");
            return fs::create_directory_symlink(
                random() % 2 == 0 ? "there/../here" : folder / "there", folder / "way");
        case 1:
            return fs::create_directory_symlink(to, from, ignored);
        case 2:
            return void(fs::remove_all(from, ignored));
        case 3:
        case 4:
            return fs::rename(from, to, ignored);
        default:
            fs::create_directories(from, ignored);
            return Touch(to);
    }
}

class RandomChangesTest : public FileWatcherTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(RandomChangesTest, AreSeenToTheLastOneAfterEveryBurst) {
    fs::create_directories(m_folder / "here");
    fs::create_directories(m_folder / "there");
    fs::create_directory_symlink("here", m_folder / "way");
    m_root = m_folder / "way/root";
    Watch();
    m_watcher->Start();
    std::mt19937 random(GetParam());
    for (int burst = 1; burst <= 40; ++burst) {
        for (int i = 0; i < 50; ++i) {
            Change(random, m_folder / "");
        }
        if (burst == 40) {  // ends in what there never was before
            for (const char* const tree : {"here/root", "there/root"}) {
                fs::remove_all(m_folder / tree);
                fs::create_directories(m_folder / tree / "last");
            }
        }
        std::unique_lock lock(m_mutex);
        const auto isTrue = [&, truth = ListAll(m_root)] { return m_seen == truth; };
        ASSERT_TRUE(m_changed.wait_for(lock, longEnough, isTrue)) << burst;
    }
    const auto asked = std::chrono::steady_clock::now();
    m_watcher->RequestStop();
    m_watcher->Join();
    EXPECT_LT(std::chrono::steady_clock::now() - asked, longEnough / 3);
    EXPECT_EQ(m_seen, ListAll(m_root));
}

// Each seed makes 2000 changes; a long run asks for more of them.
unsigned CountSeeds() {
    const char* const seeds = std::getenv("ZEL_RANDOM_SEEDS");
    return seeds == nullptr ? 20 : static_cast<unsigned>(std::atoi(seeds));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomChangesTest, ::testing::Range(1U, CountSeeds() + 1));

TEST_F(FileWatcherTest, LosesNothingWhenTheQueueOfEventsOverflows) {
    fs::create_directory(m_root);
    Watch();
    m_watcher->Tick();
    for (int i = 0; i < 10'000; ++i) {
        Touch(m_root / "f");
        fs::remove(m_root / "f");
    }
    fs::create_directories(m_root / "late/one");
    EXPECT_TRUE(TicksUntilTrue());
    Touch(m_root / "late/one/f");
    EXPECT_TRUE(TicksUntilTrue());
}

TEST_F(FileWatcherTest, MakesNoListingAndNextToNoWorkWhileNamesStay) {
    fs::create_directory(m_root);
    Touch(m_root / "f");
    Watch();
    EXPECT_TRUE(TicksUntilTrue());
    Touch(m_root / "f");
    fs::permissions(m_root / "f", fs::perms::owner_read);
    Touch(m_folder / "beside");
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("FileWatcher", 5);
    const std::clock_t before = std::clock();
    for (int i = 0; i < 20; ++i) {  // a second
        m_watcher->Tick();
        EXPECT_EQ(log.sink->TakeText().find("\n5 FileWatcher Nothing to do"), 0);
    }
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
}

bool SetLimit(const char* name, int value) {
    std::ofstream file(std::string("/proc/sys/user/") + name);
    return static_cast<bool>(file << value << std::flush);
}

TEST_F(FileWatcherTest, LooksAtIntervalsWhereALimitIsHitAndSaysWhichOne) {
    const struct {
        const char* raisedBy;
        std::function<bool(bool isTight)> limit;
    } rows[] = {
        {"fs.inotify.max_user_watches",
         [](bool isTight) { return SetLimit("max_inotify_watches", isTight ? 12 : 10'000); }},
        {"fs.inotify.max_user_instances",
         [](bool isTight) { return SetLimit("max_inotify_instances", isTight ? 0 : 10); }},
#if !defined(__SANITIZE_ADDRESS__)  // whose own checks take descriptors
        {"RLIMIT_NOFILE",
         [](bool isTight) {
             const rlimit limit = {isTight ? 0U : 1000U, 1000};
             return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
         }},
#endif
    };
    constexpr int cannotLimit = 77;
    const fs::path deepest = m_root / "a/b/c/d/e/f/g/h/i/j/k/l/m";
    for (const auto& row : rows) {
        fs::remove_all(m_root);
        fs::create_directories(deepest);
        const int status = test::RunInChild([&] {
            const test::ScopedLogger log;
            if (::unshare(CLONE_NEWUSER) != 0 || !row.limit(true)) {
                return cannotLimit;
            }
            Watch();
            m_watcher->Tick();
            m_watcher->InitChangeHandle();
            const std::string text = log.sink->TakeText();
            EXPECT_TRUE(text.rfind('\n') == 0 && text.find(row.raisedBy) != std::string::npos);
            Touch(deepest / "while it is blind");
            row.limit(false);
            EXPECT_TRUE(TicksUntilTrue());
            Touch(deepest / "later");
            EXPECT_TRUE(TicksUntilTrue());
            EXPECT_EQ(log.sink->TakeText(), "");
            return HasFailure() ? 1 : 0;
        });
        if (status == cannotLimit) {
            GTEST_SKIP() << "a process can't limit itself here: " << row.raisedBy;
        }
        EXPECT_EQ(status, 0) << row.raisedBy;
    }
}

}  // namespace
}  // namespace zel
