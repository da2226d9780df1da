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
    if (fs::is_directory(root)) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
            const bool isDirectory = entry.is_directory() && !entry.is_symlink();
            paths.insert(entry.path().string() + (isDirectory ? "/" : ""));
        }
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

    void Watch(const fs::path& path) {
        m_watcher = new FileWatcher(path.c_str(), true, true, -1);
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

// One change in a small tree, or a move between it and another one beside it.
void Change(std::mt19937& random, const fs::path& root, const fs::path& outside) {
    const auto pick = [&](fs::path path) {
        static const char* const s_names[] = {"a", "b\n", "\xff", "d *"};
        for (auto depth = random() % 4 + 1; depth > 0; --depth) {
            path /= s_names[random() % std::size(s_names)];
        }
        return path;
    };
    std::error_code ignored;
    const fs::path from = pick(random() % 4 == 0 ? outside : root);
    switch (random() % 6) {
        case 0:
        case 1:
            fs::create_directories(from, ignored);
            return Touch(pick(root));
        case 2:
        case 3:
            return fs::rename(from, pick(random() % 4 == 0 ? outside : root), ignored);
        case 4:
            return void(fs::remove_all(from, ignored));
        default:
            return fs::create_directory_symlink(root, from, ignored);
    }
}

class RandomChangesTest : public FileWatcherTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(RandomChangesTest, AreSeenToTheLastOneAfterEveryBurst) {
    fs::create_directory(m_root);
    Watch(m_root);
    m_watcher->Start();
    std::mt19937 random(GetParam());
    for (int burst = 1; burst <= 40; ++burst) {
        for (int i = 0; i < 50; ++i) {
            Change(random, m_root, m_folder / "outside");
        }
        std::unique_lock lock(m_mutex);
        const auto isTrue = [&, truth = ListAll(m_root)] { return m_seen == truth; };
        ASSERT_TRUE(m_changed.wait_for(lock, longEnough, isTrue)) << burst;
    }
    const auto asked = std::chrono::steady_clock::now();
    m_watcher->RequestStop();
    m_watcher->Join();
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(1));
    EXPECT_EQ(m_seen, ListAll(m_root));
}

// Each seed makes 2000 changes; a long run asks for more of them.
unsigned CountSeeds() {
    const char* const seeds = std::getenv("ZEL_RANDOM_SEEDS");
    return seeds == nullptr ? 20 : static_cast<unsigned>(std::atoi(seeds));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomChangesTest, ::testing::Range(1U, CountSeeds() + 1));

TEST_F(FileWatcherTest, FollowsThePathAsDirectoriesAndLinksOnItComeAndGo) {
    const fs::path way = m_folder / "way";
    m_root = way / "link" / "root";
    const std::function<void()> steps[] = {
        [&] { fs::create_directory(way); },
        [&] { fs::create_directory_symlink("../here", way / "link"); },
        [&] { fs::create_directories(m_folder / "here/root/a/b"); },
        [&] { Touch(m_root / "a/b/f"); },
        [&] { fs::rename(m_folder / "here", m_folder / "there"); },
        [&] { Touch(m_folder / "there/root/unseen"); },
        [&] {
            fs::remove(way / "link");
            fs::create_directory_symlink(m_folder / "there", way / "link");
        },
        [&] { Touch(m_root / "seen"); },
        [&] { fs::remove_all(m_folder / "there/root"); },
        [&] { Touch(m_root); },
        [&] {
            fs::remove(m_root);
            fs::create_directories(m_root / "again");
        },
        [&] { Touch(m_root / "again/f"); },
    };
    Watch(m_root);
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        steps[i]();
        EXPECT_TRUE(TicksUntilTrue()) << i;
    }
}

TEST_F(FileWatcherTest, LosesNothingWhenTheQueueOfEventsOverflows) {
    fs::create_directory(m_root);
    Watch(m_root);
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
    for (int i = 0; i < 10'000; ++i) {
        fs::create_directories(m_root / std::to_string(i % 100) / std::to_string(i));
    }
    Touch(m_root / "f");
    Watch(m_root);
    m_watcher->Tick();
    EXPECT_EQ(ListAll(m_root), m_seen);
    Touch(m_root / "f");
    fs::permissions(m_root / "f", fs::perms::owner_read);
    Touch(m_folder / "beside");

    const test::ScopedLogger log;
    log.logger->SetAreaLevel("FileWatcher", 5);
    const std::clock_t before = std::clock();
    constexpr int ticks = 20;  // a second
    std::string nothing;
    for (int i = 0; i < ticks; ++i) {
        m_watcher->Tick();
        nothing += "\n5 FileWatcher Nothing to do: shouldCheck == false; pollInterval=-1";
    }
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
    EXPECT_EQ(log.sink->TakeText(), nothing);
}

bool SetLimit(const char* name, int value) {
    std::ofstream file(std::string("/proc/sys/user/") + name);
    return static_cast<bool>(file << value << std::flush);
}

bool SetDescriptors(rlim_t count) {
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = count;
    return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

// The sanitizer's own checks take descriptors.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool mayTakeDescriptors = false;
#else
constexpr bool mayTakeDescriptors = true;
#endif

TEST_F(FileWatcherTest, LooksAtIntervalsWhereALimitIsHitAndSaysWhichOne) {
    constexpr int done = 0;
    constexpr int cannotLimit = 77;
    const struct {
        const char* raisedBy;
        bool canList;
        std::function<bool(bool isTight)> limit;
    } rows[] = {
        {"fs.inotify.max_user_watches", true,
         [](bool isTight) { return SetLimit("max_inotify_watches", isTight ? 12 : 10'000); }},
        {"fs.inotify.max_user_instances", true,
         [](bool isTight) { return SetLimit("max_inotify_instances", isTight ? 0 : 10); }},
        {"RLIMIT_NOFILE", false, [](bool isTight) { return SetDescriptors(isTight ? 0 : 1000); }},
    };
    for (const auto& row : rows) {
        if (!row.canList && !mayTakeDescriptors) {
            continue;
        }
        fs::remove_all(m_root);
        fs::create_directories(m_root / "a/b/c/d/e/f/g/h/i/j/k/l/m");
        const int status = test::RunInChild([&] {
            const test::ScopedLogger log;
            if (::unshare(CLONE_NEWUSER) != 0 || !row.limit(true)) {
                return cannotLimit;
            }
            Watch(m_root);
            m_watcher->Tick();
            m_watcher->InitChangeHandle();
            const std::string text = log.sink->TakeText();
            EXPECT_TRUE(text.rfind('\n') == 0 && text.find(row.raisedBy) != std::string::npos);
            if (row.canList) {
                Touch(m_root / "a/b/c/d/e/f/g/h/i/j/k/l/m/n");
                EXPECT_TRUE(TicksUntilTrue());
            }
            row.limit(false);
            Touch(m_root / "f");
            EXPECT_TRUE(TicksUntilTrue());
            EXPECT_EQ(log.sink->TakeText(), "");
            return HasFailure() ? 1 : done;
        });
        if (status == cannotLimit) {
            GTEST_SKIP() << "a process can't limit itself here: " << row.raisedBy;
        }
        EXPECT_EQ(status, done) << row.raisedBy;
    }
}

}  // namespace
}  // namespace zel
