#include "zel/watch/SettledFiles.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/RunInChild.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sched.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace zel {
namespace {

namespace fs = std::filesystem;

constexpr double NEVER = 1e9;

class SettledFilesTest : public ::testing::Test {
protected:
    void Watch(double settleSeconds, bool reportExisting = true) {
        m_files = new SettledFiles(m_root.c_str(), reportExisting, true, settleSeconds);
        m_files->FileSettled.Connect([this](const std::string& path) {
            m_settled += fs::path(path).filename().string() + ' ';
        });
    }

    // Returns the files reported by some ticks, at least `count`.
    std::string Tick(std::size_t count) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        for (int i = 0; i < 2 || (m_settled.size() < 2 * count && end > Now()); ++i) {
            m_files->Tick();
        }
        return std::exchange(m_settled, "");
    }

    static std::chrono::steady_clock::time_point Now() { return std::chrono::steady_clock::now(); }

    static void Write(const fs::path& path) { std::ofstream(path) << "text"; }

    const test::TemporaryFolder m_folder{fs::exists("/dev/shm") ? fs::path("/dev/shm")
                                                                : fs::temp_directory_path()};
    const fs::path m_root = m_folder / "root";
    RCPtr<SettledFiles> m_files;
    std::string m_settled;
};

TEST_F(SettledFilesTest, ReportsAFileOnceItIsClosedHoweverLongItsWriterTakes) {
    fs::create_directory(m_root);
    Watch(0);
    m_files->FileSettled.Connect([this](const std::string&) { fs::remove(m_root / "d"); });
    std::ofstream out(m_root / "a");
    EXPECT_EQ(Tick(0), "");
    out << "half" << std::flush;
    EXPECT_EQ(Tick(0), "");
    Write(m_root / "b");
    EXPECT_EQ(Tick(1), "b ");
    out << "whole";
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
    fs::create_directory(m_root);
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

TEST_F(SettledFilesTest, ReportsByThePeriodIfALimitIsReachedAndNamesIt) {
    fs::create_directory(m_root);
    constexpr int notPermitted = 77;
    const int status = test::RunInChild([&] {
        if (::unshare(CLONE_NEWUSER) != 0 ||
            !(std::ofstream("/proc/sys/user/max_inotify_instances") << 1 << std::flush)) {
            return notPermitted;
        }
        const test::ScopedLogger log;
        Watch(0);
        Write(m_root / "a");
        EXPECT_EQ(Tick(1), "a ");
        const std::string text = log.sink->TakeText();
        EXPECT_TRUE(text.rfind('\n') == 0 && text.find("user_instances") != text.npos) << text;
        return HasFailure() ? 1 : 0;
    });
    if (status == notPermitted) {
        GTEST_SKIP() << "no permission to lower a limit";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(SettledFilesTest, RepeatsAFileWhoseSinkThrew) {
    fs::create_directory(m_root);
    Watch(NEVER);
    m_files->FileSettled.Connect([isFirst = true](const std::string&) mutable {
        return std::exchange(isFirst, false) ? throw std::runtime_error("sink") : false;
    });
    m_files->FileSettled.Connect([this](const std::string&) { m_files->Tick(); });
    Write(m_root / "a");
    EXPECT_THROW(Tick(1), std::runtime_error);
    EXPECT_EQ(Tick(2), "a a ");
}

TEST_F(SettledFilesTest, ReportsNoFileThatASinkHasReplacedBeforeATick) {
    fs::create_directory(m_root);
    Watch(NEVER);
    std::ofstream out;
    m_files->FileSettled.Connect([&](const std::string&) {
        fs::remove(m_root / "b");
        out.open(m_root / "b");
        m_files->Tick();
    });
    Write(m_root / "a");
    Write(m_root / "b");
    EXPECT_EQ(Tick(1), "a ");
}

}  // namespace
}  // namespace zel
