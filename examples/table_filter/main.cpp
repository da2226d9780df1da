// Reads a file of delimited text as a table and writes the rows whose cell contains a text.

#include "zel/data/DataTable.h"

#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

using zel::DataRow;
using zel::DataTable;
using zel::RCPtr;

namespace {

constexpr std::string_view USAGE =
    R"(usage: table_filter FILE SEPARATORS FIELDS FIELD TEXT [OUTPUT]

Reads FILE, one record per line, and writes the records whose FIELD contains TEXT, with a header
line and a comma after each cell, to the file OUTPUT or to standard output. SEPARATORS are the characters that separate cells. FIELDS names
the columns, separated by commas; - means that the first line of FILE names them. Cells missing at
the end of a record are empty, excess cells are an error.
)";

void AddFields(DataTable& table, const std::string& names) {
    std::istringstream in(names);
    for (std::string name; std::getline(in, name, ',');) {
        table.AddField(name);
    }
}

RCPtr<DataTable> ReadTable(const std::string& path, const char* separators,
                           const std::string& fields) {
    const bool hasHeader = fields == "-";
    RCPtr<DataTable> table = DataTable::Load(path, separators, hasHeader, hasHeader, false, false);
    if (!hasHeader) {
        AddFields(*table, fields);
    }
    return table;
}

void Widen(DataRow& row, std::size_t fields) {
    if (row.GetFieldCount() > fields) {
        throw std::runtime_error("line " + std::to_string(row.GetLine()) + " has " +
                                 std::to_string(row.GetFieldCount()) +
                                 " cells, which is more than " + std::to_string(fields) +
                                 " fields");
    }
    row.SetFieldCount(static_cast<unsigned int>(fields), "");
}

RCPtr<DataTable> Filter(const DataTable& all, const std::string& field, const std::string& text) {
    if (all.GetFieldIndex(field) < 0) {
        throw std::runtime_error("there is no field " + field);
    }
    RCPtr<DataTable> kept(new DataTable);
    const int fields = static_cast<int>(all.GetFieldCount());
    for (int i = 0; i < fields; ++i) {
        kept->AddField(all.GetField(i));
    }
    for (const RCPtr<DataRow>& row : all) {
        if (row->GetField(0).starts_with('#')) {
            continue;
        }
        Widen(*row, all.GetFieldCount());
        if (row->GetField(field).find(text) != std::string::npos) {
            kept->AppendRow(row);
        }
    }
    return kept;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int wrongInput = 1;
    constexpr int wrongUsage = 2;
    constexpr int required = 6;
    if (argc != required && argc != required + 1) {
        std::cerr << USAGE;
        return wrongUsage;
    }
    try {
        const RCPtr<DataTable> table = ReadTable(argv[1], argv[2], argv[3]);
        const RCPtr<DataTable> kept = Filter(*table, argv[4], argv[5]);
        if (argc > required) {
            kept->Save(argv[required], ',');
        } else {
            kept->WriteToCSV(std::cout, ',');
        }
        std::cerr << table->GetRowCount() << " records read\n";
        return std::cout ? 0 : wrongInput;
    } catch (const zel::DataTableEx& ex) {
        std::cerr << "table_filter: " << ex.what() << '\n';
    } catch (const std::exception& ex) {
        std::cerr << "table_filter: " << argv[1] << ": " << ex.what() << '\n';
    }
    return wrongInput;
}
