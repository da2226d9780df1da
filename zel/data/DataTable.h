#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/WeakPtr.h"

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace zel {

class DataRow;

// Raised for a position that isn't there and for a record of the wrong width.
class ZEL_ADVANCED_API DataTableEx : public Exception {
public:
    DataTableEx(const std::string& message, const std::string& file, int line);
};

// A table of strings in memory: named columns, called fields, and rows. It knows no types, and
// doesn't hold its rows to the number of its fields: each row has a width of its own.
//
//     RCPtr<DataTable> users(new DataTable);
//     users->AddField("name");
//     users->AddField("shell");
//     RCPtr<DataRow> row = users->CreateRow();
//     row->Assign({"ada", "/bin/sh"});
//     users->AppendRow(row);
//     users->GetRow(0)->GetField("shell");  // "/bin/sh"
//
// The table holds its rows strongly, a row its table weakly. There is no lock: any threads may read
// a table that nobody changes. A failure leaves table and row as they were.
class ZEL_ADVANCED_API DataTable : public RCObject {
public:
    // Adds a field at the end. A name that is there already is ignored; case matters.
    void AddField(const std::string& name);

    // The number of fields.
    std::size_t GetFieldCount() const;

    // The name at a position, from 0. DataTableEx "Index out of range" if there is none.
    std::string GetField(int index) const;

    // The position of a name, -1 if there is no such field.
    int GetFieldIndex(const std::string& name) const;

    // A row without cells, which takes its field names from this table. It belongs to the table
    // once it is appended.
    RCPtr<DataRow> CreateRow();

    // Adds a row, which isn't null, at the end, whatever its width and its table.
    void AppendRow(RCPtr<DataRow> row);

    // The number of rows.
    std::size_t GetRowCount() const;

    // The row at a position, from 0. DataTableEx "Invalid row index" if there is none.
    RCPtr<DataRow> GetRow(int index) const;

    // Writes a line of the field names, unless there are none, then a line for each row, and
    // flushes. Every name and cell is followed by the separator. Nothing is quoted: a cell that
    // holds the separator, a carriage return or a line feed doesn't come back as it was, nor does
    // a row without cells. The stream's state tells of a failure.
    void WriteToCSV(std::ostream& out, char separator) const;

    // Reads lines to the end of the stream and appends them to what is here. An empty line is no
    // record, and a line ends at its first carriage return if it has one.
    //
    // `separators`, a text that isn't null, is a set of characters, each of which parts cells; one
    // at the end of a line opens no further cell.
    // `strictFieldCount`: a record whose width isn't the number of fields raises DataTableEx "On
    // line ...". Without it such a record is dropped if there is a header, and is a row of its own
    // width if there is none. A table without fields takes any width.
    // `hasHeader`: the first record names fields; those that are new are added.
    // `collapseSeparators`: a run of separators parts cells once.
    // `skipToBlankLine`: what stands before the first empty line isn't read.
    //
    // A line of more than 99,999 bytes, wherever it stands, raises Exception with its number and
    // that limit. After a failure the rows ahead of it are here, and the stream stands where the
    // reading ended. A zero byte is a byte of its cell like others.
    void ReadFromCSV(std::istream& in, const char* separators, bool strictFieldCount,
                     bool hasHeader, bool collapseSeparators, bool skipToBlankLine);

private:
    std::map<std::string, int> m_fieldIndex;
    std::vector<std::string> m_fieldNames;
    std::vector<RCPtr<DataRow>> m_rows;
};

// One row of a table: its cells by position, or by the names that its table gives the positions.
// Without its table a row still works by position.
class ZEL_ADVANCED_API DataRow : public RCObject {
public:
    // A row without cells that takes its names from `table`, as CreateRow of the table makes it.
    explicit DataRow(WeakPtr<DataTable> table);

    // The number of cells, whatever the number of the table's fields.
    std::size_t GetFieldCount() const;

    // Cuts cells off the end, or adds cells that hold `fill`.
    void SetFieldCount(unsigned int count, const std::string& fill);

    // Replaces all cells.
    void Assign(const std::vector<std::string>& values);
    void Assign(std::vector<std::string>&& values) noexcept;

    // The cell at a position, from 0, or of a field. DataTableEx "Field index out of range" if the
    // row has no such cell, the table no such field, or the table has gone.
    std::string GetField(int index) const;
    std::string GetField(const std::string& name) const;

    // Replaces that cell; the same failures. A row doesn't grow by it.
    void SetField(int index, const std::string& value);
    void SetField(const std::string& name, const std::string& value);

private:
    friend class DataTable;

    int FindField(const std::string& name) const;
    std::size_t CheckIndex(int index) const;

    WeakPtr<DataTable> m_table;
    std::vector<std::string> m_cells;
};

}  // namespace zel
