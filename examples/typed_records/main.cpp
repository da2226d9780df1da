// Reads a table of text into typed values, sorts it by a column, writes it in the stream form, and
// checks that it reads back equal.

#include "zel/core/StringUtils.h"
#include "zel/variant/Variant.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using zel::RCPtr;
using zel::Variant;
using zel::VariantBase;

namespace {

constexpr std::string_view USAGE =
    R"(usage: typed_records TABLE COLUMN OUTPUT [NAME:TYPE...]

Reads TABLE, with one record per line and tabs between its cells, sorts it by COLUMN and writes it to
OUTPUT. Empty lines and lines that start with # are skipped. NAME:TYPE... is the header, the name and
type of each column; without it, the first line of TABLE is the header. Cells are in the text form of
their type; cells missing at the end of a line are empty.
)";

using Words = std::vector<std::string>;
using Record = std::vector<RCPtr<VariantBase>>;

// Each cell of the column is cloned from `prototype`.
struct Column {
    std::string name;
    RCPtr<VariantBase> prototype;
};

struct Table {
    Words header;
    std::vector<Column> columns;
    std::vector<Record> records;
};

Words Split(const std::string& line) {
    std::istringstream in(line);
    Words words;
    for (std::string word; std::getline(in, word, '\t');) {
        words.push_back(word);
    }
    return words;
}

Table MakeTable(const Words& header) {
    Table table{header, {}, {}};
    for (const std::string& word : header) {
        const std::size_t colon = word.find(':');
        if (colon == std::string::npos) {
            throw std::runtime_error("'" + word + "' is not NAME:TYPE");
        }
        table.columns.push_back(
            {word.substr(0, colon), VariantBase::CreateByTypeName(word.substr(colon + 1))});
    }
    return table;
}

// Returns whether the text form silently truncated an 8-bit number to its low bits.
bool IsTruncated(const VariantBase& cell, const std::string& text) {
    Variant<std::vector<int>> wide;
    return cell.GetSizeOfElement() == 1 && wide.ReadValueFromString(text, false) &&
           wide.WriteValueToString(false) != cell.WriteValueToString(false);
}

// Returns false for a NaN, which isn't equal to itself and can't be sorted.
bool IsOrdered(const RCPtr<VariantBase>& cell) {
    return cell->IsEqual(cell, true, false, true);
}

RCPtr<VariantBase> ReadCell(const Column& column, const std::string& text) {
    RCPtr<VariantBase> cell = column.prototype->Clone();
    if (!cell->ReadValueFromString(text, false) || IsTruncated(*cell, text) || !IsOrdered(cell)) {
        throw std::runtime_error("column " + column.name + ": '" + text + "' is not of type " +
                                 column.prototype->GetTypeName());
    }
    return cell;
}

Record ReadRecord(const std::vector<Column>& columns, const std::string& line) {
    Words cells = Split(line);
    if (cells.size() > columns.size()) {
        throw std::runtime_error(zel::StringUtils::Format("%u cells for %u columns",
                                                          static_cast<unsigned>(cells.size()),
                                                          static_cast<unsigned>(columns.size())));
    }
    cells.resize(columns.size());
    Record record;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        record.push_back(ReadCell(columns[i], cells[i]));
    }
    return record;
}

void AddLine(Table& table, const std::string& line) {
    if (line.empty() || line[0] == '#') {
        return;
    }
    if (table.columns.empty()) {
        table = MakeTable(Split(line));
    } else {
        table.records.push_back(ReadRecord(table.columns, line));
    }
}

Table ReadTable(const std::string& file, const Words& header) {
    Table table = MakeTable(header);
    std::ifstream in(file);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        try {
            AddLine(table, line);
        } catch (const std::exception& ex) {
            throw std::runtime_error(
                zel::StringUtils::Format("%s: line %d: %s", file.c_str(), number, ex.what()));
        }
    }
    if (!in.eof()) {
        throw std::runtime_error("Could not read " + file);
    }
    return table;
}

void SortBy(const std::string& name, Table& table) {
    const auto column = std::ranges::find(table.columns, name, &Column::name);
    if (column == table.columns.end()) {
        throw std::runtime_error("There is no column " + name);
    }
    // Arrays are compared element by element, so {1, 4} is neither less nor greater than {2, 3}.
    if (column->prototype->IsArray()) {
        throw std::runtime_error("Column " + name + " contains arrays, which have no order");
    }
    const auto index = static_cast<std::size_t>(column - table.columns.begin());
    std::ranges::stable_sort(table.records, [index](const Record& a, const Record& b) {
        return a[index]->IsLessThan(b[index], true, false, false);
    });
}

// Writes names and types before the cells, as the stream form contains no types. Returns the size.
std::streamoff WriteValues(const Table& table, const std::string& file) {
    std::ofstream out(file, std::ios::binary);
    Variant<Words>(table.header).WriteValueToStream(out);
    Variant<unsigned long long>(table.records.size()).WriteValueToStream(out);
    for (const Record& record : table.records) {
        for (const RCPtr<VariantBase>& cell : record) {
            cell->WriteValueToStream(out);
        }
    }
    if (!out.flush()) {
        throw std::runtime_error("Could not write " + file);
    }
    return out.tellp();
}

void ReadValue(VariantBase& value, std::istream& in) {
    if (!value.ReadValueFromStream(in)) {
        throw std::runtime_error("Could not read back all values");
    }
}

Table ReadValues(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    Variant<Words> header;
    ReadValue(header, in);
    Variant<unsigned long long> count;
    ReadValue(count, in);
    Table table = MakeTable(header.GetValue());
    while (table.records.size() < count.GetValue()) {
        Record& record = table.records.emplace_back();
        for (const Column& column : table.columns) {
            ReadValue(*record.emplace_back(column.prototype->Clone()), in);
        }
    }
    return table;
}

bool AreEqual(const Record& a, const Record& b) {
    return std::ranges::equal(a, b, [](const RCPtr<VariantBase>& x, const RCPtr<VariantBase>& y) {
        return x->IsEqual(y, true, false, true);
    });
}

void Print(const Record& record) {
    for (const RCPtr<VariantBase>& cell : record) {
        std::cout << (cell == record.front() ? "" : " | ") << *cell;
    }
    std::cout << '\n';
}

void PrintEnds(const std::vector<Record>& records) {
    constexpr std::size_t shown = 2;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (i == shown && records.size() > 2 * shown) {
            std::cout << "...\n";
            i = records.size() - shown;
        }
        Print(records[i]);
    }
}

void Run(const std::string& file, const std::string& column, const std::string& output,
         const Words& header) {
    Table table = ReadTable(file, header);
    SortBy(column, table);
    const std::streamoff size = WriteValues(table, output);
    const Table copy = ReadValues(output);
    if (copy.header != table.header || !std::ranges::equal(copy.records, table.records, AreEqual)) {
        throw std::runtime_error(output + " doesn't contain what was written");
    }
    PrintEnds(copy.records);
    std::cout << copy.records.size() << " records of " << copy.columns.size()
              << " columns read back equal from " << size << " bytes\n";
    if (!std::cout.flush()) {
        throw std::runtime_error("Could not write to standard output");
    }
}

// Replaces control characters, so that the error is printed on one line.
void PrintError(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == '\x7F'; }, '?');
    std::cerr << "typed_records: " << text << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int inputError = 1;
    constexpr int usageError = 2;
    constexpr int fixedArguments = 4;
    if (argc < fixedArguments) {
        std::cerr << USAGE;
        return usageError;
    }
    try {
        Run(argv[1], argv[2], argv[3], Words(argv + fixedArguments, argv + argc));
        return 0;
    } catch (const std::exception& ex) {
        PrintError(ex.what());
    }
    return inputError;
}
