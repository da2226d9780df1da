// The watcher's logic with simulated notices.

#include "zel/platform/ChangeNotice.h"
#include "zel/watch/FileWatcher.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace zel {
namespace {

namespace fs = std::filesystem;

struct System {
    bool hasNotices = true;
    bool isSignalled = false;
    bool canRearm = true;
    std::string warning;
    std::optional<std::vector<std::string>> changes;
    std::string calls;
    std::function<void()> onRearm = [] {};
};

System s_system;

class FakeNotice : public platform::ChangeNotice {
    bool Wait(int milliseconds) override {
        s_system.calls += "wait" + std::to_string(milliseconds) + ' ';
        return std::exchange(s_system.isSignalled, false);
    }
    bool Rearm() override {
        s_system.calls += "rearm ";
        s_system.onRearm();
        return s_system.canRearm;
    }
    std::optional<std::vector<std::string>> TakeChanges() noexcept override {
        return std::exchange(s_system.changes, std::nullopt);
    }
    std::string GetWarning() const override { return s_system.warning; }

public:
    ~FakeNotice() override { s_system.calls += "close "; }
};

}  // namespace

namespace platform {

std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string&, bool recursive) {
    s_system.calls += recursive ? "open* " : "open ";
    return s_system.hasNotices ? std::make_unique<FakeNotice>() : nullptr;
}

}  // namespace platform

namespace {

class FileWatcherLogicTest : public ::testing::Test {
protected:
    void Watch(bool reportExisting, bool recursive, double interval, const std::string& paths) {
        s_system = System();
        Set(paths);
        m_watcher = new FileWatcher(m_root.string().c_str(), reportExisting, recursive, interval);
        const auto record = [this](const char* mark) {
            return [=, this](const std::string& path) {
                const fs::path below = path.substr(m_root.string().size() + 1);
                const std::string event = mark + below.generic_string() + ' ';
                m_fired += event;
                s_system.calls += event;
            };
        };
        m_watcher->FileAdded.Connect(record("f+"));
        m_watcher->FileRemoved.Connect(record("f-"));
        m_watcher->DirAdded.Connect(record("d+"));
        m_watcher->DirRemoved.Connect(record("d-"));
    }

    // Makes the paths the content of the watched directory. That of a directory ends with "/".
    void Set(const std::string& paths) {
        fs::remove_all(m_root);
        fs::create_directory(m_root);
        std::istringstream in(paths);
        for (std::string path; in >> path;) {
            path.ends_with('/') ? fs::create_directory(m_root / path)
                                : static_cast<bool>(std::ofstream(m_root / path));
        }
    }

    // Ticks with a notice of these paths and returns the events fired.
    std::string TickAt(std::vector<std::string> changes) {
        for (std::string& path : changes) {
            path = fs::path(path).make_preferred().string();
        }
        s_system.changes = changes;
        return Tick(true);
    }

    // Returns the events fired.
    std::string Tick(bool isSignalled = false) {
        s_system.isSignalled = isSignalled;
        m_watcher->Tick();
        return std::exchange(m_fired, "");
    }

    std::string TakeCalls() { return std::exchange(s_system.calls, ""); }

    const test::TemporaryFolder m_folder;
    const fs::path m_root = m_folder / "W";
    RCPtr<FileWatcher> m_watcher;
    std::string m_fired;
};

TEST_F(FileWatcherLogicTest, FiresTheDifferenceOfTwoListingsInAFixedOrder) {
    const std::pair<const char*, const char*> rows[] = {
        {"b a", "f+a f+b "},
        {"B a", ""},
        {"a_ aB", "f+a_ f+aB f-a f-B "},
        {"z/ z/f z/y/ z/y/g", "d+z d+z/y f+z/f f+z/y/g f-a_ f-aB "},
        {"x/ x/f x/y/ x/y/g", "d+x d+x/y d-z d-z/y f+x/f f+x/y/g f-z/f f-z/y/g "},
        {"x/ x/y/ x/y/g/ x-f", "d+x/y/g f+x-f f-x/f f-x/y/g "},
        {"x x-f", "d-x d-x/y d-x/y/g f+x "},
        {"N/ n/ N/f n/f N/g", "d+N f+N/f f+N/g f-x f-x-f "},
        {"", "d-N f-N/f f-N/g "},
    };
    Watch(true, true, -1, "");
    EXPECT_EQ(Tick(), "");
    for (const auto& [after, fired] : rows) {
        Set(after);
        EXPECT_EQ(Tick(true), fired) << after;
    }
}

TEST_F(FileWatcherLogicTest, LooksOnlyAtTheFilesThatTheNoticeReportsIfThatIsSufficient) {
    const struct {
        const char* before;
        const char* after;
        std::vector<std::string> changes;
        const char* fired;
    } rows[] = {
        {"d/ d/b c", "d/ d/a e", {"d/a", "d/b", "e", "d/a", "x"}, "f+d/a f+e f-d/b "},
        {"a", "b", {}, ""},
        {"a", "b c/", {"c"}, "d+c f+b f-a "},
        {"a c/", "b c", {"c"}, "d-c f+b f+c f-a "},
        {"a", "b c/ c/f", {"c/f"}, "d+c f+b f+c/f f-a "},
        {"a f", "b F", {"F", "f"}, "f+b f-a "},
        {"a", "b F f", {"F", "f"}, "f+b f+F f-a "},
        {"a F f", "b f", {"F"}, "f+b f-a "},
    };
    for (const auto& row : rows) {
        Watch(false, true, -1, row.before);
        Tick();
        const auto entries = std::distance(fs::recursive_directory_iterator(m_root), {});
        if (entries != std::ranges::count(std::string_view(row.before), ' ') + 1) {
            continue;  // a file system that has one entry for names that differ in case
        }
        Set(row.after);
        EXPECT_EQ(TickAt(row.changes), row.fired) << row.after;
    }
    Watch(false, true, -1, "b f");
    Tick();
    Set("g");
    EXPECT_EQ(Tick(true), "f+g f-b f-f ") << "all are listed without a report of changes";
    Set("g h i");
    EXPECT_EQ(TickAt({"h"}), "f+h ");
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("FileWatcher", 5);
    EXPECT_EQ(TickAt({"h"}), "f+i ") << "all are listed while listings are logged";
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
        {3600, true, true, "wait50 rearm f+c f-a "},
        {0, false, true, "wait50 close f+b f-a "},
        {-1, true, false, "wait50 rearm close f+c f-a "},
    };
    for (const auto& row : rows) {
        Watch(true, true, row.interval, "a");
        EXPECT_EQ(Tick(), "f+a ");
        TakeCalls();
        Set("b");
        s_system.canRearm = row.canRearm;
        s_system.onRearm = [this] { Set("c"); };
        Tick(row.isSignalled);
        EXPECT_EQ(TakeCalls(), row.calls) << row.interval << ' ' << row.isSignalled;
    }
    // Without a notice it tries to open one in every tick, and doesn't wait.
    s_system.hasNotices = false;
    Tick();
    Tick();
    EXPECT_EQ(TakeCalls(), "open* open* ");
}

TEST_F(FileWatcherLogicTest, ReportsOnceWhyNoticesFail) {
    const test::ScopedLogger log;
    Watch(false, true, 0, "");
    s_system.warning = "a limit";
    for (const bool isSignalled : {false, true, false, true}) {
        Tick(isSignalled);
    }
    EXPECT_EQ(log.sink->TakeText(), "\n2 FileWatcher Not every change in " + m_root.string() +
                                        " gives a notice: a limit");
    EXPECT_EQ(m_watcher->GetWarning(), "a limit");
    s_system.warning = "";
    Tick(true);
    EXPECT_TRUE(m_watcher->IsComplete());
    s_system.hasNotices = false;
    Tick();
    Tick();
    EXPECT_FALSE(m_watcher->IsComplete());
}

TEST_F(FileWatcherLogicTest, ListsNoSubdirectoriesUnlessRecursiveAndAllAfterAReset) {
    Watch(false, false, -1, "d/ d/f g");
    Set("d/ d/f d/h g i");
    EXPECT_EQ(Tick(), "f+i ");
    EXPECT_EQ(TakeCalls(), "open f+i ");
    m_watcher->Reset();
    EXPECT_EQ(Tick(), "");
    EXPECT_EQ(Tick(true), "d+d f+g f+i ");
    EXPECT_EQ(Tick(true), "");
}

TEST_F(FileWatcherLogicTest, RepeatsAListingThatASinkThrewOutOf) {
    Watch(true, true, -1, "f");
    m_watcher->FileAdded.Connect([calls = 0](const std::string&) mutable {
        return ++calls % 2 == 1 ? throw std::runtime_error("sink") : true;
    });
    EXPECT_THROW(Tick(), std::runtime_error);
    EXPECT_EQ(Tick(true), "f+f f+f ");
    Set("f g");
    EXPECT_THROW(TickAt({"g"}), std::runtime_error);
    EXPECT_EQ(TickAt({}), "f+g f+g ");
}

TEST_F(FileWatcherLogicTest, ReportsOnlyTheStaleDifferenceAfterASinkCalledTickTwice) {
    for (const bool isReported : {false, true}) {
        Watch(false, true, -1, "");
        Tick();
        Set("d");
        bool isOuter = true;
        m_watcher->FileAdded.Connect([&](const std::string&) {
            if (std::exchange(isOuter, false)) {
                for (const char* const paths : {"d f", "d f g"}) {
                    Set(paths);
                    s_system.isSignalled = true;
                    m_watcher->Tick();
                }
            }
        });
        EXPECT_EQ(isReported ? TickAt({"d"}) : Tick(true), "f+d f+d f+f f+g ");
        EXPECT_EQ(TickAt({"g"}), "f+g ");
        EXPECT_EQ(Tick(true), "");
    }
}

TEST_F(FileWatcherLogicTest, ReportsAllAgainAfterASinkResetIt) {
    Watch(false, true, -1, "");
    Tick();
    m_watcher->FileAdded.Connect([&, isFirst = true](const std::string&) mutable {
        if (std::exchange(isFirst, false)) {
            m_watcher->Reset();
            m_watcher->Tick();
        }
    });
    Set("f");
    EXPECT_EQ(TickAt({"f"}), "f+f ");
    EXPECT_EQ(TickAt({}), "f+f ");
}

}  // namespace
}  // namespace zel
