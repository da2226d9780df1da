// The logic of the watcher over a system that the tests make up.

#include "zel/platform/ChangeNotice.h"
#include "zel/platform/DirectoryWalk.h"
#include "zel/watch/FileWatcher.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <stdexcept>
#include <tuple>
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

    // Paths below the watched one, "W"; a directory ends with the separator.
    void Set(const std::string& paths) {
        directories = {{"W", {".|", "..|"}}};
        std::istringstream in(paths);
        for (std::string path; in >> path;) {
            const bool isDirectory = path.back() == '|';
            const std::size_t end = path.rfind('|', path.size() - 1 - (isDirectory ? 1 : 0));
            const bool isTop = end == std::string::npos;
            directories[isTop ? "W" : "W|" + path.substr(0, end)].push_back(
                path.substr(isTop ? 0 : end + 1));
        }
    }
};

System s_system;

class FakeNotice : public platform::ChangeNotice {
public:
    ~FakeNotice() override { s_system.calls += "close "; }
    bool Wait(int milliseconds) override {
        s_system.calls += "wait" + std::to_string(milliseconds) + ' ';
        return std::exchange(s_system.isSignalled, false);
    }
    bool Rearm() override {
        s_system.calls += "rearm ";
        return s_system.canRearm;
    }
    std::string GetWarning() const override { return s_system.warning; }
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
    void SetUp() override {
        s_system = System();
        s_system.Set("");
    }

    void Watch(bool reportExisting, bool recursive, double interval) {
        m_watcher = new FileWatcher("W", reportExisting, recursive, interval);
        const auto record = [this](const char* mark) {
            return [=, this](const std::string& path) { m_fired += mark + path + ' '; };
        };
        m_watcher->FileAdded.Connect(record("f+"));
        m_watcher->FileRemoved.Connect(record("f-"));
        m_watcher->DirAdded.Connect(record("d+"));
        m_watcher->DirRemoved.Connect(record("d-"));
    }

    std::string Tick() {
        m_watcher->Tick();
        return std::exchange(m_fired, "");
    }

    std::string TickOnNotice() {
        s_system.isSignalled = true;
        return Tick();
    }

    std::string TakeCalls() { return std::exchange(s_system.calls, ""); }

    RCPtr<FileWatcher> m_watcher;
    std::string m_fired;
};

TEST_F(FileWatcherLogicTest, FiresWhatDiffersBetweenTwoListingsInAFixedOrder) {
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
    Watch(true, true, -1);
    EXPECT_EQ(Tick(), "");
    for (const auto& [after, fired] : rows) {
        s_system.Set(after);
        EXPECT_EQ(TickOnNotice(), fired) << after;
    }
}

TEST_F(FileWatcherLogicTest, ListsOnlyTheDirectoryItselfUnlessItIsRecursive) {
    s_system.Set("x| x|f g");
    Watch(false, false, -1);
    EXPECT_EQ(TakeCalls(), "listW openW ");
    s_system.Set("x| x|f x|h g i");
    EXPECT_EQ(Tick(), "f+W|i ");
}

TEST_F(FileWatcherLogicTest, ListsOnCauseAloneAndSaysSo) {
    const std::string tick = "\n6 FileWatcher FileWater::Tick()";
    const std::string open = tick + "\n6 FileWatcher InitChangeHandle()";
    const std::string listing = R"(
5 FileWatcher Tick: there are files for me to check!
6 FileWatcher EnumFilesAndDirs: W (recursive)
6 FileWatcher EnumFilesAndDirs: W|d (recursive)
5 FileWatcher EnumFilesAndDirs: found 2 files, and 1dirs.
5 FileWatcher EnumFilesAndDirs: found 3 files, and 1dirs.)";
    const std::string nothing =
        open + "\n5 FileWatcher Nothing to do: shouldCheck == false; pollInterval=";
    const std::tuple<double, bool, bool, std::string, std::string> rows[] = {
        {-1, false, true, "wait50 ", nothing + "-1"},
        {3600, false, true, "wait50 ", nothing + "3600"},
        {3600, true, true, "wait50 rearm listW listW|d ", open + listing},
        {-1, true, false, "wait50 rearm close listW listW|d ", open + listing},
        {0, false, true, "wait50 close listW listW|d ", open + listing},
    };
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("FileWatcher", 6);
    s_system.Set("c d| d|a e");
    for (const auto& [interval, isSignalled, canRearm, calls, lines] : rows) {
        Watch(true, true, interval);
        TakeCalls();
        log.sink->TakeText();
        Tick();
        EXPECT_EQ(TakeCalls(), "listW listW|d ");
        EXPECT_EQ(log.sink->TakeText(), tick + listing);
        s_system.isSignalled = isSignalled;
        s_system.canRearm = canRearm;
        Tick();
        EXPECT_EQ(TakeCalls(), calls);
        EXPECT_EQ(log.sink->TakeText(), lines);
    }
}

TEST_F(FileWatcherLogicTest, TriesForANoticeInEveryTickAndWaitsForNothingWithoutOne) {
    s_system.hasNotices = false;
    Watch(false, true, -1);
    Tick();
    TakeCalls();
    EXPECT_EQ(Tick() + Tick(), "");
    EXPECT_EQ(TakeCalls(), "openW* openW* ");
}

TEST_F(FileWatcherLogicTest, TellsOnceWhyNoticesFail) {
    const test::ScopedLogger log;
    s_system.warning = "a limit";
    Watch(false, true, 0);
    Tick();
    Tick();
    TickOnNotice();
    EXPECT_EQ(log.sink->TakeText(),
              "\n2 FileWatcher Not every change in W gives a notice: a limit");
}

TEST_F(FileWatcherLogicTest, AResetShowsWithTheNextListing) {
    s_system.Set("f d|");
    Watch(false, true, -1);
    EXPECT_EQ(Tick(), "");
    m_watcher->Reset();
    EXPECT_EQ(Tick(), "");
    EXPECT_EQ(TickOnNotice(), "d+W|d f+W|f ");
    EXPECT_EQ(TickOnNotice(), "");
}

TEST_F(FileWatcherLogicTest, AListingThatASinkThrewOutOfIsReportedAgain) {
    Watch(false, true, -1);
    const auto sink = m_watcher->FileAdded.Connect(
        [](const std::string&) -> bool { throw std::runtime_error("sink"); });
    s_system.Set("f");
    EXPECT_THROW(m_watcher->Tick(), std::runtime_error);
    m_watcher->FileAdded.RemoveSink(sink.Get());
    m_fired.clear();
    EXPECT_EQ(TickOnNotice(), "f+W|f ");
}

TEST_F(FileWatcherLogicTest, ASinkMayCallTick) {
    Watch(true, true, -1);
    m_watcher->DirAdded.Connect([this](const std::string&) {
        s_system.Set("f");
        s_system.isSignalled = true;
        m_watcher->Tick();
        return false;
    });
    s_system.Set("d|");
    EXPECT_EQ(Tick(), "d+W|d f+W|f ");
    EXPECT_EQ(TickOnNotice(), "");
}

}  // namespace
}  // namespace zel
