// The watchers over the real system.

#include "zel/core/Timer.h"
#include "zel/watch/FileWatcher.h"
#include "zel/watch/SettledFiles.h"

#include "tests/support/linux/RunInChild.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
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

constexpr int TIMEOUT = 30;  // seconds
constexpr double NEVER = 1e9;

void Write(const fs::path& path) {
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

class WatchTest : public ::testing::Test {
protected:
    // In memory if possible, as tens of thousands of changes are made.
    const test::TemporaryFolder m_folder{fs::exists("/dev/shm") ? fs::path("/dev/shm")
                                                                : fs::temp_directory_path()};
    fs::path m_root = m_folder / "root";
};

class FileWatcherTest : public WatchTest {
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
        const Timer stopwatch;
        while (m_seen != truth && stopwatch.GetElapsedTime() < TIMEOUT) {
            m_watcher->Tick();
        }
        return m_seen == truth;
    }

    RCPtr<FileWatcher> m_watcher;
    Paths m_seen;
};

// Makes one change in two small trees, a move between them, or redirects the watched path to the
// other tree; or a change that may only be one of a file.
void Change(std::mt19937& random, const fs::path& folder, bool isOfFile) {
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
    if (isOfFile) {
        kind < 6 ? Write(to) : static_cast<void>(::unlink(from.c_str()));
    } else if (kind == 0) {
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
        Write(to);
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
                Change(random, m_folder / "", burst % 2 == 0);
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
    Write(m_folder / "beside");
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
    EXPECT_TRUE(seen.Wait(1000 * TIMEOUT));
    m_watcher->RequestStop();
    m_watcher->Join();
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
            std::string settled;
            const test::ScopedLogger log;
            if (::unshare(CLONE_NEWUSER) != 0 || !SetLimit(row.name, row.tight)) {
                return cannotLimit;
            }
            Watch();
            m_watcher->Tick();
            const std::string text = log.sink->TakeText();
            EXPECT_TRUE(text.rfind('\n') == 0 && text.find(row.reported) != std::string::npos);
            SettledFiles files(m_root.c_str(), true, true, 0);
            files.FileSettled.Connect([&](const std::string& path) { settled = path; });
            EXPECT_NE(log.sink->TakeText().find("reported before they are closed: "), text.npos);
            Write(deepest / "while degraded");
            SetLimit(row.name, row.loose);
            EXPECT_TRUE(TicksUntilCurrent());
            Write(deepest / "later");
            EXPECT_TRUE(TicksUntilCurrent());
            for (const Timer stopwatch; settled.empty() && stopwatch.GetElapsedTime() < TIMEOUT;) {
                files.Tick();
            }
            EXPECT_NE(settled, "");
            return HasFailure() ? 1 : 0;
        });
        if (status == cannotLimit) {
            GTEST_SKIP() << "no permission to lower " << row.reported;
        }
        EXPECT_EQ(status, 0) << row.reported;
    }
}

class SettledFilesTest : public WatchTest {
protected:
    SettledFilesTest() { fs::create_directory(m_root); }

    void Watch(double settleSeconds, bool reportExisting = true) {
        m_files = new SettledFiles(m_root.c_str(), reportExisting, true, settleSeconds);
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

TEST_F(SettledFilesTest, ReportsAFileOnceItIsClosedHoweverLongItsWriterTakes) {
    Watch(0);
    m_files->FileSettled.Connect([this](const std::string&) { fs::remove(m_root / "d"); });
    std::ofstream out(m_root / "a");
    EXPECT_EQ(Tick(0), "");
    Write(m_root / "b");
    EXPECT_EQ(Tick(1), "b ");
    out.close();
    EXPECT_EQ(Tick(1), "a ");
    Write(m_root / "a");
    EXPECT_EQ(Tick(0), "") << "a change of a reported file";
    fs::remove(m_root / "a");
    Write(m_root / "a");
    EXPECT_EQ(Tick(1), "a ") << "a replacement of a reported file";
    Write(m_root / "c");
    Write(m_root / "d");
    EXPECT_EQ(Tick(1), "c ") << "its sink removes d";
}

TEST_F(SettledFilesTest, ReportsByTheWayAFileAppears) {
    const fs::path outside = m_folder / "outside";
    const auto link = [&](const fs::path& path) { fs::create_hard_link(outside, path); };
    const auto move = [&](const fs::path& path) { fs::rename(outside, path); };
    const auto openForReading = [](const fs::path& path) {
        ::close(::open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    };
    const auto linkAndOpen = [&](const fs::path& path) {
        link(path);
        Write(m_root / "d/g");
        std::ofstream out(path);
        fs::remove(m_root / "d/g");
        EXPECT_EQ(Tick(0), "");
    };
    const auto renameDirectory = [&](const fs::path& path) {
        fs::rename(path.parent_path(), m_root / "e");
        Tick(0);
        Write(m_root / "e/f");
    };
    const auto replaceRoot = [&](const fs::path&) {
        fs::rename(m_root, m_folder / "aside");
        fs::create_directory(m_root);
        Tick(0);
        std::ofstream out(m_root / "f");
        Write(m_folder / "aside/f");
        EXPECT_EQ(Tick(0), "");
    };
    const auto replaceDirectory = [&](const fs::path& path) {
        Write(path);
        EXPECT_EQ(Tick(1), "f ");
        fs::rename(m_root / "d", m_root / "e");
        Write(m_root / "e/g");
        fs::create_directory(m_root / "d");
        Write(path);
    };
    const auto replaceByOtherCase = [&](const fs::path& path) {
        Write(m_root / "d/F");
        EXPECT_EQ(Tick(1), "F ");
        fs::remove(m_root / "d/F");
        Write(path);
    };
    const auto loseTheClosing = [&](const fs::path& path) {
        std::ofstream out(path);
        EXPECT_EQ(Tick(0), "");
        for (int i = 0; i < 5000; ++i) {
            Write(m_root / "d/g");
            fs::remove(m_root / "d/g");
        }
    };
    const struct {
        const char* name;
        double settleSeconds;
        std::function<void(const fs::path& path)> create;
        const char* settled;
    } rows[] = {
        {"written", NEVER, Write, "f "},
        {"moved", NEVER, move, "f "},
        {"linked", NEVER, link, ""},
        {"linked, period over", 0, link, "f "},
        {"opened after other events", 0, linkAndOpen, "f "},
        {"opened for reading", 0, openForReading, "f "},
        {"renamed directory", NEVER, renameDirectory, "f "},
        {"replaced root", NEVER, replaceRoot, "f "},
        {"replaced directory", 0, replaceDirectory, "f f g "},
        {"replaced by a name of other case", NEVER, replaceByOtherCase, "f "},
        {"lost events", 0, loseTheClosing, "f "},
    };
    for (const auto& row : rows) {
        fs::remove_all(m_root);
        fs::remove_all(m_folder / "aside");
        Watch(row.settleSeconds);
        Tick(0);
        fs::create_directories(m_root / "d");
        Tick(0);
        Write(outside);
        row.create(m_root / "d/f");
        EXPECT_EQ(Tick(std::string(row.settled).size() / 2), row.settled) << row.name;
    }
}

TEST_F(SettledFilesTest, WaitsUntilAnExistingFileIsUnchanged) {
    Write(m_root / "a");
    Watch(0, false);
    EXPECT_EQ(Tick(0), "") << "existing";
    Watch(0.06);
    std::ofstream out(m_root / "a", std::ios::app);
    for (int i = 0; i < 6; ++i) {
        out << "text" << std::flush;
        m_files->Tick();
        EXPECT_EQ(m_settled, "");
    }
    EXPECT_EQ(Tick(1), "a ");
}

TEST_F(SettledFilesTest, RepeatsAFileWhoseSinkThrewAndNoneThatASinkReplacedBeforeATick) {
    Watch(NEVER);
    std::ofstream out;
    m_files->FileSettled.Connect([&, isFirst = true](const std::string&) mutable {
        if (std::exchange(isFirst, false)) {
            throw std::runtime_error("sink");
        }
        fs::remove(m_root / "b");
        out.open(m_root / "b");
        m_files->Tick();
    });
    Write(m_root / "a");
    Write(m_root / "b");
    EXPECT_THROW(Tick(1), std::runtime_error);
    EXPECT_EQ(Tick(2), "a a ");
}

}  // namespace
}  // namespace zel
