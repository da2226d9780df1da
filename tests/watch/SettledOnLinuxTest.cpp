// SettledFiles where the system reports how files are written.

#include "tests/watch/WatchFixture.h"

#include <fcntl.h>
#include <functional>
#include <stdexcept>
#include <unistd.h>

namespace zel::test {
namespace {

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
    const auto replace = [&](const fs::path& path) {
        Write(path);
        EXPECT_EQ(Tick(1), "f ");
        fs::remove(path);
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
        {"replaced", NEVER, replace, "f "},
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
}  // namespace zel::test
