#include "zel/data/DataTable.h"

#include "zel/core/RCBatch.h"
#include "zel/foundation/Log.h"

#include <algorithm>
#include <utility>

namespace zel {

namespace {

const LogArea s_log("DataTable", 3);

template <class T>
bool IsIndex(int index, const std::vector<T>& items) {
    return index >= 0 && static_cast<std::size_t>(index) < items.size();
}

}  // namespace

DataTableEx::DataTableEx(const std::string& message, const std::string& file, int line)
    : Exception("DataTableEx", message, file, line) {}

DataTableEx::DataTableEx(const std::string& message, const std::string& file, int line,
                         const std::string& info)
    : Exception("DataTableEx", message, file, line, info) {}

// Releases the references to many rows at once. Rows are deleted after that.
DataTable::~DataTable() {
    constexpr std::ptrdiff_t atOnce = 64;
    DataRow* unreferenced[atOnce];
    for (auto next = m_rows.begin(); next != m_rows.end();) {
        DataRow** last = unreferenced;
        const auto end = next + std::min(atOnce, m_rows.end() - next);
        RCBatch::ReleaseAll(next, end, [&last](DataRow* row) {
            row->m_table = nullptr;
            *last++ = row;
        });
        std::for_each(unreferenced, last, [](DataRow* row) { delete row; });
        next = end;
    }
}

RCPtr<DataTable> DataTable::Clone() const {
    RCPtr<DataTable> clone(new DataTable);
    clone->m_fieldIndex = m_fieldIndex;
    clone->m_fieldNames = m_fieldNames;
    clone->m_path = m_path;
    clone->m_rows.reserve(m_rows.size());
    for (const RCPtr<DataRow>& row : m_rows) {
        RCPtr<DataRow> copy = clone->CreateRow();
        copy->m_line = row->m_line;
        copy->m_cells = row->m_cells;
        clone->m_rows.push_back(std::move(copy));
    }
    return clone;
}

void DataTable::AddField(const std::string& name) {
    const auto [entry, isNew] = m_fieldIndex.emplace(name, static_cast<int>(m_fieldNames.size()));
    if (!isNew) {
        return;
    }
    try {
        m_fieldNames.push_back(name);
    } catch (...) {
        m_fieldIndex.erase(entry);
        throw;
    }
}

std::size_t DataTable::GetFieldCount() const {
    return m_fieldNames.size();
}

std::string DataTable::GetField(int index) const {
    if (!IsIndex(index, m_fieldNames)) {
        ThrowWithInfo<DataTableEx>(s_log, DescribeIndex(index, m_fieldNames.size(), "fields"),
                                   "Index out of range");
    }
    return m_fieldNames[static_cast<std::size_t>(index)];
}

int DataTable::GetFieldIndex(const std::string& name) const {
    const auto found = m_fieldIndex.find(name);
    return found == m_fieldIndex.end() ? -1 : found->second;
}

RCPtr<DataRow> DataTable::CreateRow() {
    return RCPtr<DataRow>(new DataRow(WeakPtr<DataTable>(this)));
}

void DataTable::AppendRow(RCPtr<DataRow> row) {
    m_rows.push_back(std::move(row));
}

std::size_t DataTable::GetRowCount() const {
    return m_rows.size();
}

RCPtr<DataRow> DataTable::GetRow(int index) const {
    if (!IsIndex(index, m_rows)) {
        ThrowWithInfo<DataTableEx>(s_log, DescribeIndex(index, m_rows.size(), "rows"),
                                   "Invalid row index");
    }
    return m_rows[static_cast<std::size_t>(index)];
}

std::string DataTable::DescribeIndex(int index, std::size_t count, const char* things) const {
    MemOS place;
    place << m_path << (m_path.empty() ? "" : ": ") << "index " << index << ", " << count << ' '
          << things;
    return place.ToString();
}

DataRow::DataRow(WeakPtr<DataTable> table) : m_table(std::move(table)) {}

DataRow::~DataRow() = default;

std::size_t DataRow::GetFieldCount() const {
    return m_cells.size();
}

void DataRow::SetFieldCount(unsigned int count, const std::string& fill) {
    m_cells.resize(count, fill);
}

void DataRow::Assign(const std::vector<std::string>& values) {
    Assign(std::vector<std::string>(values));
}

void DataRow::Assign(std::vector<std::string>&& values) noexcept {
    m_cells = std::move(values);
}

std::string DataRow::GetField(int index) const {
    return m_cells[CheckIndex(index)];
}

std::string DataRow::GetField(const std::string& name) const {
    return m_cells[CheckIndex(FindField(name), &name)];
}

void DataRow::SetField(int index, const std::string& value) {
    m_cells[CheckIndex(index)] = value;
}

void DataRow::SetField(const std::string& name, const std::string& value) {
    m_cells[CheckIndex(FindField(name), &name)] = value;
}

int DataRow::FindField(const std::string& name) const {
    const RCPtr<DataTable> table = m_table.GetRCPtr();
    return table ? table->GetFieldIndex(name) : -1;
}

// `name` is the name by which the cell was looked up, or null.
std::size_t DataRow::CheckIndex(int index, const std::string* name) const {
    if (!IsIndex(index, m_cells)) {
        ThrowWithInfo<DataTableEx>(s_log, DescribeCell(index, name), "Field index out of range");
    }
    return static_cast<std::size_t>(index);
}

void DataRow::ThrowWrongValue(std::size_t index, const std::string& values) const {
    ThrowWithInfo<DataTableEx>(s_log, DescribeCell(static_cast<int>(index), nullptr), "Cell '",
                               m_cells[index], "' is not ", values);
}

// Returns what is known of the place of a cell, such as
// "users.csv: line 7, field shell, index 6, 5 cells".
std::string DataRow::DescribeCell(int index, const std::string* name) const {
    const RCPtr<DataTable> table = m_table.GetRCPtr();
    if (table && name == nullptr && IsIndex(index, table->m_fieldNames)) {
        name = &table->m_fieldNames[static_cast<std::size_t>(index)];
    }
    MemOS place;
    if (table && !table->m_path.empty()) {
        place << table->m_path << ": ";
    }
    if (m_line > 0) {
        place << "line " << m_line << ", ";
    }
    if (name != nullptr) {
        place << "field " << *name << (table ? "" : " of a deleted table") << ", ";
    }
    place << "index " << index << ", " << m_cells.size() << " cells";
    return place.ToString();
}

}  // namespace zel
