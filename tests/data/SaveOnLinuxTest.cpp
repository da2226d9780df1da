#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"

#include "tests/support/linux/RunInChild.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/resource.h>

namespace zel {
namespace {

namespace fs = std::filesystem;

TEST(SaveOnLinuxTest, FollowsLinksAndKeepsTheOldFileOnFailure) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "file";
    const std::string link = folder / "link";
    const std::string loop = folder / "loop";
    fs::create_symlink("file", link);
    fs::create_symlink("loop", loop);
    RCPtr<DataTree>(new DataTree("root", ""))->Save(link);
    const fs::perms mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_write;
    fs::permissions(path, mode);
    const RCPtr<DataTable> table(new DataTable);
    table->AddField("name");
    table->Save(link, ',');
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(path).permissions(), mode);

    table->AddField(std::string(50'000, 'x'));
    const int failures = test::RunInChild([&] {
        const rlimit limit{20'000, 20'000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
        const std::string message = "DataTableEx: Could not save ";
        EXPECT_EQ(test::ThrownBy([&] { table->Save(path, ','); }),
                  message + path + ": File too large");
        EXPECT_EQ(test::ThrownBy([&] { table->Save(loop, ','); }),
                  message + loop + ": Too many levels of symbolic links");
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(fs::file_size(path), std::string("name,\n").size());
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / ""), {}), 3) << "temporary files";
}

}  // namespace
}  // namespace zel
