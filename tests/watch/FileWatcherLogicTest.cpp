// The watcher's logic over a simulated system.

#include "zel/platform/ChangeNotice.h"
#include "zel/platform/DirectoryWalk.h"
#include "zel/watch/FileWatcher.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace zel {
namespace {

struct System {
    std::map<std::string, std::vector<std::string>> directories;
    bool hasNotices = true;
    bool isSignalled = false;
    bool canRearm = true;
    std::string warning;
    std::string calls;

    // Sets the paths below the watched one, "W". A directory ends with the separator.
    void Set(const std::string& paths) {
        directories = {{"W", {".|", "..|"}}};
        std::istringstream in(paths);
        for (std::string path; in >> path;) {
            path.insert(0, "W|");
            const std::size_t end = path.rfind('|', path.size() - 2);
            directories[path.substr(0, end)].push_back(path.substr(end + 1));
        }
    }
};

System s_system;

class FakeNotice : public platform::ChangeNotice {
    bool Wait(int milliseconds) override {
        s_system.calls += "wait" + std::to_string(milliseconds) + ' ';
        return std::exchange(s_system.isSignalled, false);
    }
    bool Rearm() override {
        s_system.calls += "rearm ";
        return s_system.canRearm;
    }
    std::string GetWarning() const override { return s_system.warning; }

public:
    ~FakeNotice() override { s_system.calls += "close "; }
};

}  // namespace

namespace platform {

std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string& path, bool recursive) {
    s_system.calls += "open" + path + (recursive ? "* " : " ");
    return s_system.hasNotices ? std::make_unique<FakeNotice>() : nullptr;
}

const char DirectoryWalk::SEPARATOR = '|';

struct DirectoryWalk::Body {
    std::vector<std::string> names;
    std::size_t next;
};

DirectoryWalk::DirectoryWalk(const std::string& path, Link)
    : m_body(new Body{s_system.directories[path], 0}) {
    s_system.calls += "list" + path + ' ';
}

DirectoryWalk::~DirectoryWalk() = default;

bool DirectoryWalk::Next(DirectoryEntry& entry) {
    if (m_body->next == m_body->names.size()) {
        return false;
    }
    entry.name = m_body->names[m_body->next++];
    entry.isDirectory = entry.name.ends_with('|');
    entry.name.remove_suffix(entry.isDirectory ? 1 : 0);
    return true;
}

}  // namespace platform

namespace {

class FileWatcherLogicTest : public ::testing::Test {
protected:
    void Watch(bool reportExisting, bool recursive, double interval, const std::string& paths) {
        s_system = System();
        s_system.Set(paths);
        m_watcher = new FileWatcher("W", reportExisting, recursive, interval);
        const auto record = [this](const char* mark) {
            return [=, this](const std::string& path) { m_fired += mark + path + ' '; };
        };
        m_watcher->FileAdded.Connect(record("f+"));
        m_watcher->FileRemoved.Connect(record("f-"));
        m_watcher->DirAdded.Connect(record("d+"));
        m_watcher->DirRemoved.Connect(record("d-"));
    }

    // Returns the events fired.
    std::string Tick(bool isSignalled = false) {
        s_system.isSignalled = isSignalled;
        m_watcher->Tick();
        return std::exchange(m_fired, "");
    }

    std::string TakeCalls() { return std::exchange(s_system.calls, ""); }

    RCPtr<FileWatcher> m_watcher;
    std::string m_fired;
};

TEST_F(FileWatcherLogicTest, FiresTheDifferenceOfTwoListingsInAFixedOrder) {
    const std::pair<const char*, const char*> rows[] = {
        {"b a", "f+W|a f+W|b "},
        {"B a", ""},
        {"a_ aB", "f+W|a_ f+W|aB f-W|a f-W|B "},
        {"z| z|f z|y| z|y|g", "d+W|z d+W|z|y f+W|z|f f+W|z|y|g f-W|a_ f-W|aB "},
        {"x| x|f x|y| x|y|g", "d+W|x d+W|x|y d-W|z d-W|z|y f+W|x|f f+W|x|y|g f-W|z|f f-W|z|y|g "},
        {"x| x|y| x|y|g| x-f", "d+W|x|y|g f+W|x-f f-W|x|f f-W|x|y|g "},
        {"x x-f", "d-W|x d-W|x|y d-W|x|y|g f+W|x "},
        {"n| N| n|f N|f N|g", "d+W|N f+W|N|f f+W|N|g f-W|x f-W|x-f "},
        {"", "d-W|N f-W|N|f f-W|N|g "},
    };
    Watch(true, true, -1, "");
    EXPECT_EQ(Tick(), "");
    for (const auto& [after, fired] : rows) {
        s_system.Set(after);
        EXPECT_EQ(Tick(true), fired) << after;
    }
}

TEST_F(FileWatcherLogicTest, ListsNoSubdirectoriesUnlessRecursive) {
    Watch(false, false, -1, "x| x|f g");
    EXPECT_EQ(TakeCalls(), "listW openW ");
    s_system.Set("x| x|f x|h g i");
    EXPECT_EQ(Tick(), "f+W|i ");
}

TEST_F(FileWatcherLogicTest, ListsOnlyWithCause) {
    const struct {
        double interval;
        bool isSignalled;
        bool canRearm;
        std::string calls;
    } rows[] = {
        {-1, false, true, "wait50 "},
        {3600, false, true, "wait50 "},
        {3600, true, true, "wait50 rearm listW listW|d "},
        {0, false, true, "wait50 close listW listW|d "},
        {-1, true, false, "wait50 rearm close listW listW|d "},
    };
    for (const auto& row : rows) {
        Watch(true, true, row.interval, "c d| d|a e");
        TakeCalls();
        Tick();
        EXPECT_EQ(TakeCalls(), "listW listW|d ");
        s_system.canRearm = row.canRearm;
        Tick(row.isSignalled);
        EXPECT_EQ(TakeCalls(), row.calls) << row.interval << ' ' << row.isSignalled;
    }
    // Without a notice it tries to open one in every tick, and doesn't wait.
    s_system.hasNotices = false;
    Tick();
    Tick();
    EXPECT_EQ(TakeCalls(), "openW* openW* ");
}

TEST_F(FileWatcherLogicTest, ReportsOnceWhyNoticesFail) {
    const test::ScopedLogger log;
    Watch(false, true, 0, "");
    s_system.warning = "a limit";
    for (const bool isSignalled : {false, true, false, true}) {
        Tick(isSignalled);
    }
    EXPECT_EQ(log.sink->TakeText(),
              "\n2 FileWatcher Not every change in W gives a notice: a limit");
}

TEST_F(FileWatcherLogicTest, AResetShowsWithTheNextListing) {
    Watch(false, true, -1, "f d|");
    EXPECT_EQ(Tick(), "");
    m_watcher->Reset();
    EXPECT_EQ(Tick(), "");
    EXPECT_EQ(Tick(true), "d+W|d f+W|f ");
    EXPECT_EQ(Tick(true), "");
}

TEST_F(FileWatcherLogicTest, RepeatsAListingThatASinkThrewOutOf) {
    Watch(true, true, -1, "f");
    m_watcher->FileAdded.Connect([isFirst = true](const std::string&) mutable {
        return std::exchange(isFirst, false) ? throw std::runtime_error("sink") : false;
    });
    EXPECT_THROW(Tick(), std::runtime_error);
    EXPECT_EQ(Tick(true), "f+W|f f+W|f ");
}

TEST_F(FileWatcherLogicTest, ReportsOnlyTheStaleDifferenceAfterASinkCalledTick) {
    const struct {
        std::vector<const char*> listings;
        const char* fired;
        const char* firedNext;
    } rows[] = {
        {{"f"}, "d+W|d f+W|f ", ""},
        {{"f", "f g"}, "d+W|d f+W|f f+W|g ", "f+W|g "},
    };
    for (const auto& row : rows) {
        Watch(true, true, -1, "d|");
        m_watcher->DirAdded.Connect([&](const std::string&) {
            for (const char* const listing : row.listings) {
                s_system.Set(listing);
                s_system.isSignalled = true;
                m_watcher->Tick();
            }
            return false;
        });
        EXPECT_EQ(Tick(), row.fired);
        EXPECT_EQ(Tick(true), row.firedNext);
        EXPECT_EQ(Tick(true), "");
    }
}

}  // namespace
}  // namespace zel
