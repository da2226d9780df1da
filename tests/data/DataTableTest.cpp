#include "zel/data/DataTable.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

namespace zel {
namespace {

using test::ThrownBy;
using Cells = std::vector<std::string>;

Cells CellsOf(const DataRow& row) {
    Cells cells;
    for (int i = 0; i < static_cast<int>(row.GetFieldCount()); ++i) {
        cells.push_back(row.GetField(i));
    }
    return cells;
}

Cells FieldsOf(const DataTable& table) {
    Cells names;
    for (int i = 0; i < static_cast<int>(table.GetFieldCount()); ++i) {
        names.push_back(table.GetField(i));
    }
    return names;
}

// "a|b/c/" for two rows.
std::string RowsOf(const DataTable& table) {
    std::string text;
    for (int i = 0; i < static_cast<int>(table.GetRowCount()); ++i) {
        std::string mark;
        for (const std::string& cell : CellsOf(*table.GetRow(i))) {
            text += std::exchange(mark, "|") + cell;
        }
        text += '/';
    }
    return text;
}

RCPtr<DataTable> MakeTable(const Cells& fields) {
    RCPtr<DataTable> table(new DataTable);
    for (const std::string& field : fields) {
        table->AddField(field);
    }
    return table;
}

RCPtr<DataRow> AppendRow(const RCPtr<DataTable>& table, const Cells& cells) {
    RCPtr<DataRow> row = table->CreateRow();
    row->Assign(cells);
    table->AppendRow(row);
    return row;
}

TEST(DataTableTest, KeepsFieldsByNameAndRowsOfAnyWidth) {
    const RCPtr<DataTable> table = MakeTable({"a", "b", "a", "c"});
    EXPECT_EQ(FieldsOf(*table), (Cells{"a", "b", "c"}));
    EXPECT_EQ(table->GetFieldIndex("c"), 2);
    EXPECT_EQ(table->GetFieldIndex("C"), -1);

    const RCPtr<DataRow> narrow = AppendRow(table, {"1", "2"});
    const RCPtr<DataRow> wide = AppendRow(table, {"1", "2", "3", "4"});
    narrow->SetField("b", "two");
    EXPECT_EQ(wide->GetField("c") + wide->GetField(3), "34");
    EXPECT_EQ(RowsOf(*table), "1|two/1|2|3|4/");
    narrow->SetFieldCount(4, "x");
    wide->SetFieldCount(1, "x");
    EXPECT_EQ(RowsOf(*table), "1|two|x|x/1/");
    wide->SetFieldCount(0, "x");
    EXPECT_EQ(wide->GetFieldCount(), 0U);
}

TEST(DataTableTest, RefusesWhatIsNotThereAndLogsIt) {
    const test::ScopedLogger logger;
    RCPtr<DataTable> table = MakeTable({"a", "b", "c"});
    const RCPtr<DataRow> row = AppendRow(table, {"1", "2"});
    const std::string index = "DataTableEx: Index out of range";
    const std::string rowIndex = "DataTableEx: Invalid row index";
    const std::string field = "DataTableEx: Field index out of range";
    for (const int position : {-1, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(ThrownBy([&] { table->GetField(position); }), index);
        EXPECT_EQ(ThrownBy([&] { table->GetRow(position); }), rowIndex);
        EXPECT_EQ(ThrownBy([&] { row->GetField(position); }), field);
        EXPECT_EQ(ThrownBy([&] { row->SetField(position, "x"); }), field);
    }
    EXPECT_TRUE(logger.sink->TakeText().starts_with(
        "\n2 DataTable Exception of type DataTableEx. Index out of range\n"));
    EXPECT_EQ(ThrownBy([&] { row->GetField("c"); }), field);
    EXPECT_EQ(ThrownBy([&] { row->SetField("none", "x"); }), field);

    table = nullptr;
    EXPECT_EQ(ThrownBy([&] { row->GetField("a"); }), field);
    EXPECT_EQ(ThrownBy([&] { row->SetField("a", "x"); }), field);
    EXPECT_EQ(CellsOf(*row), (Cells{"1", "2"}));
}

TEST(DataTableTest, ReadsDelimitedTextAsTheFlagsSay) {
    struct Row {
        std::string flags;  // s: strict, h: header, c: collapse, b: skip to the blank line
        std::string text;
        std::string rows;
        std::string failure = {};
        Cells fields = {};
        Cells fieldsBefore = {};
        const char* separators = ",";
    };
    const std::string wrongWidth = "DataTableEx: On line ";
    const std::string longest(99'999, 'x');
    const Cells ab{"a", "b"};
    const Row table[] = {
        {"", "", ""},
        {"", "x,,\n", "x|/"},
        {"c", "x,,\n", "x/"},
        {"", "a,,b", "a||b/"},
        {"c", "a,,b", "a|b/"},
        {"", ",a", "|a/"},
        {"c", ",,a", "|a/"},
        {"", ",,", "|/"},
        {"c", ",,", "/"},
        {"", " a , b \n", " a | b /"},
        {"b", "a\nb\n", ""},
        {"b", "a\nb\n\r\nc\n\nd\n", "c/d/"},
        {"s", "1,2\n3\n", "1|2/3/"},
        {"", "\n\na\r\n\r\nb\rlost,too\nc", "a/b/c/"},
        {"", std::string("a\0b,\0\n", 6), std::string("a\0b|\0/", 6)},
        {"", "1\n" + longest, "1/" + longest + "/"},
        {"", "a,b;c\t;d\n", "a|b|c||d/", "", {}, {}, ",;\t"},
        {"", "a,b\n", "a,b/", "", {}, {}, ""},
        {"",
         "a\xff"
         "b\n",
         "a|b/",
         "",
         {},
         {},
         "\xff"},
        {"sh", "a,b,\nx,y,\n", "x|y/", "", ab},
        {"hb", "note\n\n\na,b\n1,2\n", "1|2/", "", ab},
        {"h", "a,b\n1,2\n3\n4,5,6\n7,8\n", "1|2/7|8/", "", ab},
        {"", "1,2\n3\n4,5,6\n", "1|2/3/4|5|6/", "", ab, ab},
        {"h", "a,b,a\n1,2,3\n1,2\n", "1|2/", "", ab},
        {"h", "b,c\n1,2,3\n", "1|2|3/", "", {"a", "b", "c"}, ab},
        {"shb", "p\nq\n\na,b\n1\n2,3\n", "",
         wrongWidth + "5, record should have 2 field(s) but has 1 instead", ab},
        {"s",
         "1\n\n2\n3,4\n",
         "1/2/",
         wrongWidth + "4, record should have 1 field(s) but has 2 instead",
         {"a"},
         {"a"}},
        {"b", "1\n" + longest + "x\n\n2", "", "Exception: Line 2 is longer than 99999 characters"},
    };
    for (const Row& row : table) {
        const auto has = [&](char flag) { return row.flags.find(flag) != std::string::npos; };
        const RCPtr<DataTable> read = MakeTable(row.fieldsBefore);
        std::istringstream in(row.text);
        const std::string failure = ThrownBy(
            [&] { read->ReadFromCSV(in, row.separators, has('s'), has('h'), has('c'), has('b')); });
        EXPECT_EQ(failure, row.failure) << row.text;
        EXPECT_EQ(RowsOf(*read), row.rows) << row.flags << ' ' << row.text;
        EXPECT_EQ(FieldsOf(*read), row.fields) << row.text;
        EXPECT_EQ(in.eof(), failure.empty()) << row.text;
    }
}

TEST(DataTableTest, LeavesTheStreamWhereAFailureWasFound) {
    const RCPtr<DataTable> table = MakeTable({"a"});
    std::istringstream in("1\n2,3\n4\n");
    EXPECT_THROW(table->ReadFromCSV(in, ",", true, false, false, false), DataTableEx);
    table->ReadFromCSV(in, ",", true, false, false, false);
    EXPECT_EQ(RowsOf(*table), "1/4/");
}

TEST(DataTableTest, ReadsBackWhatItWrites) {
    std::stringstream text;
    MakeTable({})->WriteToCSV(text, '\t');
    EXPECT_EQ(text.str(), "");

    const RCPtr<DataTable> table = MakeTable({"a", "", "c"});
    std::mt19937 random(20261123);
    AppendRow(table, {});
    for (int i = 0; i < 2000; ++i) {
        Cells cells;
        for (int cell = 0; cell < 3; ++cell) {
            cells.emplace_back(random() % 4 * (i == 7 ? 10'000 : 9), static_cast<char>('a' + cell));
        }
        AppendRow(table, cells);
    }
    table->WriteToCSV(text, '\t');
    EXPECT_EQ(text.str().substr(0, 7), "a\t\tc\t\n\n");
    const RCPtr<DataTable> read(new DataTable);
    read->ReadFromCSV(text, "\t", true, true, false, false);
    EXPECT_EQ(FieldsOf(*read), FieldsOf(*table));
    EXPECT_EQ(RowsOf(*read), RowsOf(*table).substr(1));
}

}  // namespace
}  // namespace zel
