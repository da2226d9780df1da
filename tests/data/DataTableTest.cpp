#include "zel/data/DataTable.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <sstream>
#include <type_traits>

namespace zel {
namespace {

using test::ThrownBy;

RCPtr<DataTable> MakeTable(const std::string& names) {
    RCPtr<DataTable> table(new DataTable);
    for (const char name : names) {
        table->AddField({name});
    }
    return table;
}

// Returns what the table writes before it flushes the stream.
std::string TextOf(const RCPtr<DataTable>& table) {
    struct Buffer : std::stringbuf {
        int sync() override {
            flushed += str();
            return 0;
        }
        std::string flushed;
    } buffer;
    std::ostream out(&buffer);
    table->WriteToCSV(out, '|');
    return buffer.flushed;
}

static_assert(!std::is_destructible_v<DataRow>);
static_assert(!std::is_destructible_v<DataTable> && !std::is_copy_constructible_v<DataTable>);

TEST(DataTableTest, KeepsFieldsByNameAndRowsOfAnyWidth) {
    RCPtr<DataTable> table = MakeTable("abac");
    EXPECT_EQ(table->GetField(table->GetFieldIndex("c")), "c");
    EXPECT_EQ(table->GetFieldIndex("C"), -1);
    for (int i = 0; i < 3; ++i) {
        table->AppendRow(table->CreateRow());
    }
    const RCPtr<DataRow> narrow = table->GetRow(0);
    const RCPtr<DataRow> wide = table->GetRow(1);
    narrow->SetFieldCount(2, "1");
    narrow->SetField("b", "two");
    wide->SetFieldCount(6, "x");
    wide->Assign({"1", "2", "3", "4"});
    EXPECT_EQ(wide->GetField("c"), "3");
    EXPECT_EQ(table->GetRowCount(), 3U);
    EXPECT_EQ(TextOf(table), "a|b|c|\n1|two|\n1|2|3|4|\n\n");
    EXPECT_EQ(std::vector(table->begin(), table->end()),
              (std::vector{narrow, wide, table->GetRow(2)}));
    const RCPtr<DataTable> clone = table->Clone();
    wide->SetFieldCount(2, "x");
    EXPECT_EQ(wide->GetFieldCount(), 2U);
    table = nullptr;
    EXPECT_EQ(TextOf(clone), "a|b|c|\n1|two|\n1|2|3|4|\n\n");
    EXPECT_EQ(clone->GetRow(1)->GetField("c"), "3");
}

TEST(DataTableTest, RefusesInvalidIndexesAndNames) {
    RCPtr<DataTable> table = MakeTable("abc");
    const RCPtr<DataRow> row = table->CreateRow();
    row->SetFieldCount(2, "1");
    table->AppendRow(row);
    const std::string refused = "DataTableEx: Field index out of range (";
    for (const int index : {-1, 3, INT_MIN, INT_MAX}) {
        const std::string place = "index " + std::to_string(index) + ", ";
        EXPECT_EQ(ThrownBy([&] { table->GetField(index); }),
                  "DataTableEx: Index out of range (" + place + "3 fields)");
        EXPECT_EQ(ThrownBy([&] { table->GetRow(index); }),
                  "DataTableEx: Invalid row index (" + place + "1 rows)");
        EXPECT_EQ(ThrownBy([&] { row->GetField(index); }), refused + place + "2 cells)");
        EXPECT_EQ(ThrownBy([&] { row->SetField(index, "x"); }), refused + place + "2 cells)");
    }
    const std::string third = refused + "field c, index 2, 2 cells)";
    EXPECT_EQ(ThrownBy([&] { row->GetField("c"); }), third);
    EXPECT_EQ(ThrownBy([&] { row->GetFieldAs<int>(2); }), third);
    const test::ScopedLogger logger;
    EXPECT_EQ(ThrownBy([&] { row->SetField("none", "x"); }),
              refused + "field none, index -1, 2 cells)");
    EXPECT_EQ(logger.sink->TakeText(),
              "\n2 DataTable Exception of type DataTableEx. Field index out of range");
    table = nullptr;
    EXPECT_EQ(ThrownBy([&] { row->SetField("a", "x"); }),
              refused + "field a of a deleted table, index -1, 2 cells)");
    EXPECT_EQ(row->GetField(0), "1");
}

TEST(DataTableTest, ReadsDelimitedTextByTheFlags) {
    const std::string longest(99'999, 'x');
    const struct {
        std::string flags;  // s: strict, h: header, c: collapse, b: skip to the blank line
        std::string text;
        std::string read;
        std::string failure = {};
        std::string fieldsBefore = {};
        const char* separators = ",";
    } rows[] = {
        {"", ",,a ,, b,,\n", "||a || b||\n"},
        {"c", ",,a ,, b,,\n", "|a | b|\n"},
        {"b", "a\nb\n\r\nc\n\nd\n", "c|\nd|\n"},
        {"s", "1,2\n3\n", "1|2|\n3|\n"},
        {"", "\n\na\r\n\r\nb\rlost,\rtoo\nc", "a|\nb|\nc|\n"},
        {"", std::string("a\0b,\0\n", 6), std::string("a\0b|\0|\n", 7)},
        {"", "a,b\n" + longest, "a,b|\n" + longest + "|\n", "", "", ""},
        {"", "a,b;c\377;d\n", "a|b|c||d|\n", "", "", ",;\377"},
        {"", "1,2\n3\n4,5,6\n", "a|b|\n1|2|\n3|\n4|5|6|\n", "", "ab"},
        {"h", "b,c,b\n1,2,3\n4\n5,6,7,8\n9,0,1\n", "a|b|c|\n1|2|3|\n9|0|1|\n", "", "ab"},
        {"shb", "p\nq\n\na,b\n1\n\n,b,\n3,4,5\n", "a|b||\n3|4|5|\n",
         "DataTableEx: On line 5, record should have 2 field(s) but has 1 instead"},
        {"s", "1\n\n2\n3,4\n5\n", "a|\n1|\n2|\n5|\n",
         "DataTableEx: On line 4, record should have 1 field(s) but has 2 instead", "a"},
        {"b", "1\n" + longest + "x\n\n2", "2|\n",
         "Exception: Line 2 is longer than 99999 characters"},
    };
    for (const auto& row : rows) {
        const RCPtr<DataTable> table = MakeTable(row.fieldsBefore);
        std::istringstream in(row.text);
        const auto has = [&](char flag) { return row.flags.find(flag) != std::string::npos; };
        const auto read = [&] {
            table->ReadFromCSV(in, row.separators, has('s'), has('h'), has('c'), has('b'));
        };
        EXPECT_EQ(ThrownBy(read), row.failure) << row.text;
        EXPECT_EQ(in.eof(), row.failure.empty()) << row.text;
        read();  // the lines after the failure
        EXPECT_EQ(TextOf(table), row.read) << row.flags << ' ' << row.text;
    }
}

// Splits a line as documented.
std::string Split(const std::string& line, bool collapses) {
    std::string cells;
    for (std::size_t next = 0; next < line.size();) {
        const std::size_t stop = std::min(line.find_first_of(",;", next), line.size());
        cells += line.substr(next, stop - next) + '|';
        next = collapses ? std::min(line.find_first_not_of(",;", stop), line.size()) : stop + 1;
    }
    return cells + '\n';
}

TEST(DataTableTest, FindsAllSeparatorsOfRandomLines) {
    std::mt19937 random(4);
    for (int round = 0; round < 2000; ++round) {
        std::string line(1 + random() % 70, 'x');
        for (const auto rare = 2 + random() % 30; char& character : line) {
            character = random() % rare == 0 ? ",;"[random() % 2] : "xyz"[random() % 3];
        }
        for (const bool collapses : {false, true}) {
            const RCPtr<DataTable> table = MakeTable("");
            std::istringstream in(line);
            table->ReadFromCSV(in, ",;", false, false, collapses, false);
            ASSERT_EQ(TextOf(table), Split(line, collapses)) << line;
        }
    }
}

}  // namespace
}  // namespace zel
