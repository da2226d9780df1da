// SettledFiles on every system.

#include "tests/watch/WatchFixture.h"

namespace zel::test {
namespace {

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
    Write(m_root / "c");
    Write(m_root / "d");
    EXPECT_EQ(Tick(1), "c ") << "its sink removes d";
}

TEST_F(SettledFilesTest, WaitsUntilAnExistingFileIsUnchanged) {
    Write(m_root / "a");
    Watch(0, false);
    EXPECT_EQ(Tick(0), "") << "existing";
    Watch(0.06);
    for (std::uintmax_t size = 0; size < 6; ++size) {
        fs::resize_file(m_root / "a", size);
        m_files->Tick();
        EXPECT_EQ(m_settled, "");
    }
    EXPECT_EQ(Tick(1), "a ");
}

}  // namespace
}  // namespace zel::test
