#include "Batch.h"

#include "zel/core/FileUtils.h"
#include "zel/core/StringUtils.h"
#include "zel/data/DataTable.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

using zel::DataRow;
using zel::DataTable;
using zel::RCPtr;
using zel::VariantBase;
using zel::StringUtils::AsString;

namespace {

// Returns the line number in the file of each row of the table, which skips empty lines.
std::vector<std::size_t> NumberLines(const std::string& text) {
    std::vector<std::size_t> numbers;
    std::istringstream in(text);
    std::string line;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.front() != '\r') {
            numbers.push_back(number);
        }
    }
    return numbers;
}

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios_base::binary);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in.is_open() || in.bad()) {
        throw std::runtime_error("can't be read");
    }
    return text.str();
}

// Returns the position of a column in the file: the first one if its name repeats.
int FindColumn(const DataRow& header, const std::string& name) {
    const int count = static_cast<int>(header.GetFieldCount());
    for (int i = 0; i < count; ++i) {
        if (header.GetField(i) == name) {
            return i;
        }
    }
    throw std::runtime_error("has no column " + name);
}

std::string TextOf(const DataRow& row) {
    std::string text;
    const int count = static_cast<int>(row.GetFieldCount());
    for (int i = 0; i < count; ++i) {
        text += row.GetField(i) + ',';
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
        const std::string text = ReadText(path);
        std::istringstream in(text);
        const RCPtr<DataTable> table(new DataTable);
        table->ReadFromCSV(in, ",;\t", false, false, false, false);
        if (table->GetRowCount() == 0) {
            return std::move(m_batch);
        }
        m_header = table->GetRow(0);
        for (const Column& column : m_columns) {
            m_positions.push_back(FindColumn(*m_header, column.name));
        }
        const std::vector<std::size_t> lines = NumberLines(text);
        const int rows = static_cast<int>(table->GetRowCount());
        for (int i = 1; i < rows; ++i) {
            Take(*table->GetRow(i), lines[static_cast<std::size_t>(i)]);
        }
        return std::move(m_batch);
    }

private:
    void Take(DataRow& row, std::size_t line) {
        const std::size_t width = m_header->GetFieldCount();
        if (row.GetFieldCount() > width) {
            Reject(row, line, AsString(row.GetFieldCount()) + " cells for " + AsString(width));
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
                Reject(row, line,
                       "column " + m_columns[i].name + ": '" + cell + "' is not of type " +
                           m_columns[i].type);
                return;
            }
        }
        m_batch.records.push_back(std::move(record));
    }

    void Reject(const DataRow& row, std::size_t line, const std::string& reason) {
        m_batch.rejected.push_back(m_batch.source.name + ": line " + AsString(line) + ": " +
                                   reason + " in " + TextOf(row));
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
