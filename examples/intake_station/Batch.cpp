#include "Batch.h"

#include "zel/core/FileUtils.h"
#include "zel/core/StringUtils.h"
#include "zel/data/DataTable.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>

using zel::DataRow;
using zel::DataTable;
using zel::RCPtr;
using zel::VariantBase;
using zel::StringUtils::AsString;

namespace {

RCPtr<DataTable> ReadTable(const std::string& path) {
    std::ifstream in(path, std::ios_base::binary);
    RCPtr<DataTable> table(new DataTable);
    table->ReadFromCSV(in, ",;\t", false, false, false, false);
    if (!in.is_open() || in.bad()) {
        throw std::runtime_error("can't be read");
    }
    return table;
}

// Returns the position of a column in the file: the first one if its name repeats.
int FindColumn(const DataRow& header, const std::string& name) {
    const std::vector<std::string>& names = header.GetCells();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        throw std::runtime_error("has no column " + name);
    }
    return static_cast<int>(found - names.begin());
}

std::string TextOf(const DataRow& row) {
    std::string text;
    for (const std::string& cell : row.GetCells()) {
        text += cell + ',';
    }
    return text;
}

// Returns false if the value would lose data: the stream form ends a string at a zero byte, and the
// text form truncates a number to the 8 bits of its type.
bool IsLossless(const VariantBase& value, const std::string& cell) {
    if (cell.find('\0') != std::string::npos) {
        return false;
    }
    zel::Variant<std::vector<int>> whole;
    return value.GetSizeOfElement() != 1 || !whole.ReadValueFromString(cell, false) ||
           whole.WriteValueToString(false) == value.WriteValueToString(false);
}

class BatchReader {
public:
    BatchReader(const std::vector<Column>& columns, const Record& prototypes, const KeepRow& keep)
        : m_columns(columns), m_prototypes(prototypes), m_keep(keep) {}

    Batch Read(const std::string& path) {
        m_batch.source = {zel::FileUtils::GetFileFromPath(path), GetWriteTime(path)};
        const RCPtr<DataTable> table = ReadTable(path);
        if (table->GetRowCount() == 0) {
            return std::move(m_batch);
        }
        m_header = table->GetRow(0);
        for (const Column& column : m_columns) {
            m_positions.push_back(FindColumn(*m_header, column.name));
        }
        for (const RCPtr<DataRow>& row : *table) {
            if (row != m_header) {
                Take(*row);
            }
        }
        return std::move(m_batch);
    }

private:
    void Take(DataRow& row) {
        const std::size_t width = m_header->GetFieldCount();
        if (row.GetFieldCount() > width) {
            Reject(row, AsString(row.GetFieldCount()) + " cells for " + AsString(width));
            return;
        }
        row.SetFieldCount(static_cast<unsigned int>(width), "");
        Record record;
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            const std::string cell = row.GetField(m_positions[i]);
            if (!m_keep(m_columns[i].name, cell)) {
                ++m_batch.filtered;
                return;
            }
            record.push_back(m_prototypes[i]->Clone());
            if (!record.back()->ReadValueFromString(cell, false) ||
                !IsLossless(*record.back(), cell)) {
                Reject(row, "column " + m_columns[i].name + ": '" + cell + "' is not of type " +
                                m_columns[i].type);
                return;
            }
        }
        m_batch.records.push_back(std::move(record));
    }

    void Reject(const DataRow& row, const std::string& reason) {
        m_batch.rejected.push_back(m_batch.source.name + ": line " + AsString(row.GetLine()) +
                                   ": " + reason + " in " + TextOf(row));
    }

    const std::vector<Column>& m_columns;
    const Record& m_prototypes;
    const KeepRow& m_keep;
    RCPtr<DataRow> m_header;
    std::vector<int> m_positions;
    Batch m_batch;
};

}  // namespace

std::string Source::GetUniqueName() const {
    return name + '.' + AsString(writeTime);
}

std::int64_t GetWriteTime(const std::string& path) {
    const auto time = std::filesystem::last_write_time(path);
    return std::chrono::file_clock::to_sys(time).time_since_epoch().count();
}

Record MakePrototypes(const std::vector<Column>& columns) {
    Record prototypes;
    for (const Column& column : columns) {
        prototypes.push_back(VariantBase::CreateByTypeName(column.type));
    }
    return prototypes;
}

Batch ReadBatch(const std::string& path, const std::vector<Column>& columns,
                const Record& prototypes, const KeepRow& keep) {
    return BatchReader(columns, prototypes, keep).Read(path);
}
