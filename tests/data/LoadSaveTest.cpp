#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"

#include "tests/support/RunInChild.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <tuple>

namespace zel {
namespace {

namespace fs = std::filesystem;
using test::ThrownBy;

RCPtr<DataTable> Load(const std::string& path) {
    return DataTable::Load(path, ",", true, true, false, false);
}

TEST(LoadSaveTest, LoadReportsPathReasonAndLine) {
    const test::TemporaryFolder folder;
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"\xEF\xBB\xBFname,shell\r\nada,/bin/sh\r\n", "", ""},
        {"a,b\n\n1,2\n3\n", "On line 4, record should have 2 field(s) but has 1 instead", "4"},
        {"\na,b,a\n", "Line 2 names field a twice", "2"},
        {"a\n" + std::string(100'000, 'x'), "Line 2 is longer than 99999 characters", "2"},
    };
    const std::string path = folder / "table";
    for (const auto& [text, reason, line] : rows) {
        std::ofstream(path) << text;
        EXPECT_EQ(ThrownBy<DataTableEx>([&] { EXPECT_EQ(Load(path)->GetField(0), "name"); }),
                  reason.empty() ? ""
                                 : "DataTableEx: Could not load " + path + ": " + reason + " (" +
                                       path + ": line " + line + ")");
    }
    std::ofstream(path) << "[\"a\"\n]]";
    EXPECT_EQ(ThrownBy([&] { DataTree::Load(path.c_str()); }),
              "DataTreeEx: Unexpected closing tag (" + path + ": line 2, column 2)");
    const std::tuple<std::string, std::string> files[] = {
        {folder / "none", "No such file or directory"}, {folder / "", "Is a directory"}};
    for (const auto& [file, reason] : files) {
        EXPECT_EQ(ThrownBy([&] { Load(file); }),
                  "DataTableEx: Could not load " + file + ": " + reason);
        EXPECT_EQ(ThrownBy([&] { DataTree::Load(file.c_str()); }),
                  "DataTreeEx: Could not open input file " + file);
    }
}

TEST(LoadSaveTest, SaveReplacesTheFileALinkPointsTo) {
    const test::TemporaryFolder folder;
    const fs::path path = folder / "file";
    const fs::path link = folder / "link";
    fs::create_symlink("file", link);
    const RCPtr<DataTree> tree(new DataTree("root", ""));
    tree->Save(link);
    EXPECT_EQ(DataTree::Load(path.c_str())->GetName(), "root");
    const fs::perms mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_write;
    fs::permissions(path, mode);
    const RCPtr<DataTable> table(new DataTable);
    table->AddField(std::string(50'000, 'x'));
    table->Save(link, ',');
    EXPECT_EQ(Load(path)->GetField(0), table->GetField(0));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(path).permissions(), mode);
}

TEST(LoadSaveTest, AFailedSaveKeepsTheOldFileAndReportsPathAndReason) {
    const test::TemporaryFolder folder;
    const fs::path path = folder / "file";
    std::ofstream(path) << "old";
    fs::create_symlink("loop", folder / "loop");
    const RCPtr<DataTree> tree(new DataTree(std::string(50'000, 'x'), ""));
    const RCPtr<DataTable> table(new DataTable);
    table->AddField(tree->GetName());
    const std::tuple<fs::path, std::string> rows[] = {
        {path, "File too large"},
        {folder / "", "Is a directory"},
        {folder / "none" / "file", "No such file or directory"},
        {"/dev/null", "Invalid argument"},
        {folder / "loop", "Too many levels of symbolic links"},
    };
    const int failures = test::RunInChild([&] {
        const rlimit limit{20'000, 20'000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
        for (const auto& [target, reason] : rows) {
            const std::string message = "Could not save " + target.string() + ": " + reason;
            EXPECT_EQ(ThrownBy([&] { tree->Save(target); }), "DataTreeEx: " + message);
            EXPECT_EQ(ThrownBy([&] { table->Save(target, ','); }), "DataTableEx: " + message);
        }
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(Load(path)->GetField(0), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / ""), {}), 2) << "temporary files";
}

}  // namespace
}  // namespace zel
