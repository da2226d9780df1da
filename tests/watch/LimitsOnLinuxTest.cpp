// The watchers when a limit of the system is reached.

#include "tests/support/linux/RunInChild.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/watch/WatchFixture.h"

#include <sched.h>
#include <sys/resource.h>

namespace zel::test {
namespace {

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
        const int status = RunInChild([&] {
            std::string settled;
            const ScopedLogger log;
            if (::unshare(CLONE_NEWUSER) != 0 || !SetLimit(row.name, row.tight)) {
                return cannotLimit;
            }
            Watch();
            m_watcher->Tick();
            const std::string text = log.sink->TakeText();
            EXPECT_TRUE(text.rfind('\n') == 0 && text.find(row.reported) != std::string::npos);
            SettledFiles files(m_root.string().c_str(), true, true, 0);
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

}  // namespace
}  // namespace zel::test
