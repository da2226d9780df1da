#pragma once

#include "zel/core/Exception.h"
#include "zel/core/WeakPtr.h"
#include "zel/data/ValueTextImp.h"
#include "zel/foundation/Export.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace zel {

class DataRow;

/// Thrown for an index out of range, for a cell that isn't a value of a type, for a record with the
/// wrong number of cells, and for a file that can't be read or written. `GetInfo` returns the place
/// of the error as far as it is known, such as "users.csv: line 7", or "users.csv: line 7, field
/// shell, index 6, 5 cells" for an error of a cell.
class ZEL_ADVANCED_API DataTableEx : public Exception {
public:
    /// See `Exception::Exception`.
    DataTableEx(const std::string& message, const std::string& file, int line);

    /// The same with a text for `GetInfo`.
    DataTableEx(const std::string& message, const std::string& file, int line,
                const std::string& info);
};

/// A table of strings in memory: named columns, called fields, and rows. Tables are created by
/// `new` and owned by `RCPtr`; the destructor is protected, so that local variables don't compile.
/// All cells are text. The number of cells is a property of each row and may differ from the number
/// of fields.
///
///     RCPtr<DataTable> users(new DataTable);
///     users->AddField("name");
///     users->AddField("shell");
///     RCPtr<DataRow> row = users->CreateRow();
///     row->Assign({"ada", "/bin/sh"});
///     users->AppendRow(row);
///     users->GetRow(0)->GetField("shell");  // "/bin/sh"
///     for (const RCPtr<DataRow>& row : *users) { row->GetFieldAs<int>("id"); ... }
///
/// A table owns its rows; a row has a weak pointer to its table. A failed call leaves table and row
/// unchanged, except `ReadFromCSV`.
///
/// Thread-compatible: const calls may run concurrently.
///
/// Guide: docs/delimited-text.md
class ZEL_ADVANCED_API DataTable : public RCObject {
public:
    /// Creates a table without fields and rows.
    DataTable() = default;
    DataTable(const DataTable&) = delete;
    DataTable& operator=(const DataTable&) = delete;

    /// Returns a deep copy, whose rows take their field names from the copy.
    RCPtr<DataTable> Clone() const;

    /// Appends a field. Has no effect if there is a field of that name; names are case-sensitive.
    void AddField(const std::string& name);

    /// Returns the number of fields.
    std::size_t GetFieldCount() const;

    /// Returns the name of the field at an index, from 0. Throws `DataTableEx` "Index out of range"
    /// if there is none.
    std::string GetField(int index) const;

    /// Returns the index of the field of that name, or -1.
    int GetFieldIndex(const std::string& name) const;

    /// Creates a row without cells that takes its field names from this table. The row belongs to
    /// the table once it is appended.
    RCPtr<DataRow> CreateRow();

    /// Appends a row. Neither its number of cells nor its table is checked.
    /// Requires: `row` is not null.
    void AppendRow(RCPtr<DataRow> row);

    /// Returns the number of rows.
    std::size_t GetRowCount() const;

    /// Returns the row at an index, from 0. Throws `DataTableEx` "Invalid row index" if there is
    /// none.
    RCPtr<DataRow> GetRow(int index) const;

    /// Returns iterators over the rows, in order, for a range-based `for`.
    /// Requires: while they are in use, no row is appended, and a pointer holds this table. In
    /// a loop over what `Load` returns none does: store the pointer first.
    ///@{
    const RCPtr<DataRow>* begin() const noexcept { return m_rows.data(); }
    const RCPtr<DataRow>* end() const noexcept { return m_rows.data() + m_rows.size(); }
    ///@}

    /// Writes a line of the field names, if there are any, and a line for each row, and flushes the
    /// stream. Every name and cell is followed by the separator. Nothing is quoted: cells that
    /// contain the separator, a carriage return or a line feed can't be read back, nor can rows
    /// without cells. Failures are reported by the state of the stream only.
    void WriteToCSV(std::ostream& out, char separator) const;

    /// Reads lines to the end of the stream and appends them to this table. A line ends at its
    /// first carriage return or at its line feed; empty lines are skipped.
    ///
    /// - `separators`: the characters that separate cells; not null. A separator at the end of a
    ///   line doesn't start another cell.
    /// - `strictFieldCount`: a record whose number of cells differs from the number of fields
    ///   throws `DataTableEx` "On line ...". If not set, such a record is dropped if `hasHeader` is
    ///   set, and becomes a row otherwise. A table without fields accepts any record.
    /// - `hasHeader`: the first record names fields; new names are added.
    /// - `collapseSeparators`: consecutive separators count as one.
    /// - `skipToBlankLine`: lines before the first empty line are skipped.
    ///
    /// Zero bytes are ordinary characters. A line of more than 99,999 bytes throws `Exception` with
    /// its number. After a failure the table contains the rows read so far, and the stream is
    /// positioned after the failed line, or within it if it is too long.
    void ReadFromCSV(std::istream& in, const char* separators, bool strictFieldCount,
                     bool hasHeader, bool collapseSeparators, bool skipToBlankLine);

    /// Reads a file into a new table. The parameters are those of `ReadFromCSV`; a byte order mark
    /// at the beginning is skipped. Throws `DataTableEx` with path and reason if the file can't be
    /// opened or read to its end, if a line is invalid, or if the header names a field twice.
    [[nodiscard]] static RCPtr<DataTable> Load(const std::string& path, const char* separators,
                                               bool strictFieldCount, bool hasHeader,
                                               bool collapseSeparators, bool skipToBlankLine);

    /// Writes the text of `WriteToCSV` to a file. The text is written to a temporary file in the
    /// same directory, which replaces the old file once it is stored on the disk. Throws
    /// `DataTableEx` with path and reason on failure; the old file is then unchanged.
    void Save(const std::string& path, char separator) const;

protected:
    ~DataTable() override;

private:
    friend class DataRow;
    friend class DataTableReader;

    std::string DescribeIndex(int index, std::size_t count, const char* things) const;

    std::map<std::string, int> m_fieldIndex;
    std::vector<std::string> m_fieldNames;
    std::vector<RCPtr<DataRow>> m_rows;
    // The file that the table was loaded from, or empty.
    std::string m_path;
};

/// A row of a table, created by `new` or `DataTable::CreateRow` and owned by `RCPtr`. Its cells are
/// accessed by index, or by the names of the table's fields. Access by index works without the
/// table. Thread-compatible: const calls may run concurrently.
class ZEL_ADVANCED_API DataRow : public RCObject {
public:
    /// Creates a row without cells that takes its field names from `table`. See
    /// `DataTable::CreateRow`.
    explicit DataRow(WeakPtr<DataTable> table);
    DataRow(const DataRow&) = default;
    DataRow& operator=(const DataRow&) = default;

    /// Returns the number of cells.
    std::size_t GetFieldCount() const;

    /// Removes cells from the end, or appends cells that contain `fill`.
    void SetFieldCount(unsigned int count, const std::string& fill);

    /// Replaces all cells.
    ///@{
    void Assign(const std::vector<std::string>& values);
    void Assign(std::vector<std::string>&& values) noexcept;
    ///@}

    /// Returns a cell by index, from 0, or by field name. Throws `DataTableEx` "Field index out of
    /// range" if the row has no such cell, the table has no such field, or the table has been
    /// deleted.
    ///@{
    std::string GetField(int index) const;
    std::string GetField(const std::string& name) const;
    ///@}

    /// Returns a cell as a T: a number, a `bool` or a string, by the rules of
    /// `DataTree::GetValueAs`. Throws `DataTableEx` if there is no such cell or if it isn't a T.
    ///@{
    template <class T>
    T GetFieldAs(int index) const {
        return Convert<T>(CheckIndex(index));
    }
    template <class T>
    T GetFieldAs(const std::string& name) const {
        return Convert<T>(CheckIndex(FindField(name), &name));
    }
    ///@}

    /// Returns all cells. The reference is valid as long as the row.
    const std::vector<std::string>& GetCells() const noexcept { return m_cells; }

    /// Returns the line, from 1, of the text that this row was read from; 0 if it was created
    /// otherwise. A clone has the same line.
    std::size_t GetLine() const noexcept { return m_line; }

    /// Replaces an existing cell. Throws like `GetField`.
    ///@{
    void SetField(int index, const std::string& value);
    void SetField(const std::string& name, const std::string& value);
    ///@}

protected:
    ~DataRow() override;

private:
    friend class DataTable;
    friend class DataTableReader;

    template <class T>
    T Convert(std::size_t index) const {
        T value{};
        if (!Imp::ReadValue(m_cells[index], value)) {
            ThrowWrongValue(index, Imp::DescribeValues<T>());
        }
        return value;
    }

    int FindField(const std::string& name) const;
    std::size_t CheckIndex(int index, const std::string* name = nullptr) const;
    [[noreturn]] void ThrowWrongValue(std::size_t index, const std::string& values) const;
    std::string DescribeCell(int index, const std::string* name) const;

    // The first member, as it fits into the padding of the base class.
    std::uint32_t m_line = 0;
    WeakPtr<DataTable> m_table;
    std::vector<std::string> m_cells;
};

}  // namespace zel
