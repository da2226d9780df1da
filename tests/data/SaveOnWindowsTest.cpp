#include "zel/data/DataTable.h"

#include "tests/support/TemporaryFolder.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zel {
namespace {

namespace fs = std::filesystem;

TEST(SaveOnWindowsTest, KeepsAFileThatAnotherProgramHasOpen) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "file";
    const RCPtr<DataTable> table(new DataTable);
    table->AddField("name");
    table->Save(path, ',');
    const auto size = fs::file_size(path);
    table->AddField("value");
    {
        // The C runtime doesn't share the deletion of a file.
        const std::ifstream reader(path);
        EXPECT_NE(test::ThrownBy([&] { table->Save(path, ','); }), "");
    }
    EXPECT_EQ(fs::file_size(path), size);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / ""), {}), 1) << "temporary files";
    table->Save(path, ',');
    EXPECT_GT(fs::file_size(path), size);
}

}  // namespace
}  // namespace zel
