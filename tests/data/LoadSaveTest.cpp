#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"

#include "tests/support/SystemTexts.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <fstream>
#include <tuple>

namespace zel {
namespace {

using test::ThrownBy;

RCPtr<DataTable> Load(const std::string& path) {
    return DataTable::Load(path, ",", true, true, false, false);
}

struct UnusableFile {
    std::string path;
    std::string reason;
};

TEST(LoadSaveTest, LoadReportsPathReasonAndLine) {
    const test::TemporaryFolder folder;
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"a,b\n\n1,2\n3\n", "On line 4, record should have 2 field(s) but has 1 instead", "4"},
        {"\na,b,a\n", "Line 2 names field a twice", "2"},
        {"a\n" + std::string(100'000, 'x'), "Line 2 is longer than 99999 characters", "2"},
    };
    const std::string path = folder / "table";
    for (const auto& [text, reason, line] : rows) {
        std::ofstream(path, std::ios::binary) << text;
        EXPECT_EQ(ThrownBy<DataTableEx>([&] { Load(path); }), "DataTableEx: Could not load " +
                                                                  path + ": " + reason + " (" +
                                                                  path + ": line " + line + ")");
    }
    std::ofstream(path) << "[\"a\"\n]]";
    EXPECT_EQ(ThrownBy([&] { DataTree::Load(path.c_str()); }),
              "DataTreeEx: Unexpected closing tag (" + path + ": line 2, column 2)");
    const UnusableFile files[] = {{folder / "none", test::MISSING_FILE},
                                  {folder / "", test::DIRECTORY}};
    for (const UnusableFile& file : files) {
        EXPECT_EQ(ThrownBy([&] { Load(file.path); }),
                  "DataTableEx: Could not load " + file.path + ": " + file.reason);
        EXPECT_EQ(ThrownBy([&] { DataTree::Load(file.path.c_str()); }),
                  "DataTreeEx: Could not open input file " + file.path);
    }
}

TEST(LoadSaveTest, CellsAreValuesOrErrorsWithTheirPlace) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "table";
    std::ofstream(path) << "id,on\n\n0x10,true\n1.5,0\n";
    const RCPtr<DataTable> table = Load(path)->Clone();
    EXPECT_EQ(table->GetRow(0)->GetFieldAs<short>("id"), 16);
    EXPECT_TRUE(table->GetRow(0)->GetFieldAs<bool>(1));
    const RCPtr<DataRow> row = table->GetRow(1);
    EXPECT_EQ(row->GetFieldAs<double>("id"), 1.5);
    EXPECT_EQ(ThrownBy([&] { row->GetFieldAs<signed char>("id"); }),
              "DataTableEx: Cell '1.5' is not an integer from -128 to 127 (" + path +
                  ": line 4, field id, index 0, 2 cells)");
    EXPECT_EQ(row->GetLine() + table->CreateRow()->GetLine(), 4U);
}

TEST(LoadSaveTest, SaveReplacesTheFileOrReportsPathAndReason) {
    const test::TemporaryFolder folder;
    const std::string file = folder / "file";
    const RCPtr<DataTree> tree(new DataTree(std::string(50'000, 'x'), ""));
    const RCPtr<DataTable> table(new DataTable);
    table->AddField("\xEF\xBB\xBF" + tree->GetName());
    tree->Save(file);
    EXPECT_EQ(DataTree::Load(file.c_str())->GetName(), tree->GetName());
    table->Save(file, ',');
    EXPECT_EQ(Load(file)->GetField(0), tree->GetName()) << "without the byte order mark";
    const UnusableFile rows[] = {
        {folder / "", test::DIRECTORY},
        {folder / "none/file", test::MISSING_DIRECTORY},
        {test::NULL_DEVICE, test::UNSUITABLE_FILE},
    };
    for (const UnusableFile& row : rows) {
        const std::string message = "Could not save " + row.path + ": " + row.reason;
        EXPECT_EQ(ThrownBy([&] { tree->Save(row.path); }), "DataTreeEx: " + message);
        EXPECT_EQ(ThrownBy([&] { table->Save(row.path, ','); }), "DataTableEx: " + message);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / ""), {}), 1);
}

}  // namespace
}  // namespace zel
