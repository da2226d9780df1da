#include "zel/core/LineReader.h"
#include "zel/data/DataTable.h"
#include "zel/data/SeparatorSet.h"
#include "zel/data/StoredLine.h"
#include "zel/foundation/Log.h"
#include "zel/platform/SystemError.h"

#include <fstream>
#include <memory>
#include <utility>

namespace zel {

namespace {

const LogArea s_log("DataTable", 3);

constexpr std::size_t LONGEST_LINE = 99'999;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

// The size of text that a string holds without an allocation.
constexpr std::size_t SHORT_CELL = 15;

// Appends the first `size` bytes of `text`. A copy of a constant size needs no call.
void AppendCell(std::vector<std::string>& cells, std::string_view text, std::size_t size) {
    if (size <= SHORT_CELL && text.size() >= SHORT_CELL) {
        cells.emplace_back(text.data(), SHORT_CELL).resize(size);
    } else {
        cells.emplace_back(text.data(), size);
    }
}

}  // namespace

// Reads one stream into one table. `path` is null unless the stream is that of a file to be loaded.
class DataTableReader {
public:
    struct Flags {
        bool strictFieldCount;
        bool hasHeader;
        bool collapseSeparators;
        bool skipToBlankLine;
    };

    DataTableReader(DataTable* table, std::istream& in, const char* separators, Flags flags,
                    const std::string* path = nullptr)
        : m_table(table),
          m_block(std::make_unique_for_overwrite<char[]>(LONGEST_LINE)),
          m_lines(in, m_block.get(), LONGEST_LINE),
          m_separators(separators),
          m_flags(flags),
          m_path(path) {}

    void Read() {
        bool expectsHeader = m_flags.hasHeader;
        bool isSkipping = m_flags.skipToBlankLine;
        std::string_view line;
        while (ReadLine(&line)) {
            if (line.empty()) {
                isSkipping = false;
            } else if (isSkipping) {
                continue;
            } else if (std::exchange(expectsHeader, false)) {
                AddFields(Split(line));
            } else {
                AddRecord(Split(line));
            }
        }
    }

private:
    bool ReadLine(std::string_view* line) {
        const LineReader::Result result = m_lines.Read(line);
        if (result == LineReader::Result::End) {
            return false;
        }
        ++m_lineNumber;
        if (result == LineReader::Result::TooLong) {
            ThrowInLine<Exception>(s_log, "Line ", m_lineNumber, " is longer than ", LONGEST_LINE,
                                   " characters");
        }
        if (m_path != nullptr && m_lineNumber == 1 && line->starts_with(BYTE_ORDER_MARK)) {
            line->remove_prefix(BYTE_ORDER_MARK.size());
        }
        *line = line->substr(0, line->find('\r'));
        return true;
    }

    std::vector<std::string> Split(std::string_view line) {
        std::vector<std::string> parts;
        parts.reserve(m_expectedParts);
        SeparatorCursor separators(m_separators, line);
        while (!line.empty()) {
            const auto size = static_cast<std::size_t>(separators.Peek() - line.data());
            AppendCell(parts, line, size);
            line.remove_prefix(size);
            do {
                line.remove_prefix(line.empty() ? 0 : 1);
                separators.Advance();
            } while (m_flags.collapseSeparators && !line.empty() &&
                     separators.Peek() == line.data());
        }
        m_expectedParts = parts.size();
        return parts;
    }

    void AddFields(const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            if (m_path != nullptr && m_table->GetFieldIndex(name) >= 0) {
                ThrowInLine<DataTableEx>(s_log, "Line ", m_lineNumber, " names field ", name,
                                         " twice");
            }
            m_table->AddField(name);
        }
    }

    void AddRecord(std::vector<std::string> parts) {
        const std::size_t fields = m_table->GetFieldCount();
        if (fields != 0 && parts.size() != fields) {
            if (m_flags.strictFieldCount) {
                ThrowInLine<DataTableEx>(s_log, "On line ", m_lineNumber, ", record should have ",
                                         fields, " field(s) but has ", parts.size(), " instead");
            }
            if (m_flags.hasHeader) {
                return;
            }
        }
        auto row = RCPtr<DataRow>::FromUnshared(new DataRow(TakeLink()));
        row->m_line = StoredLine(m_lineNumber);
        row->m_cells = std::move(parts);
        m_table->m_rows.push_back(std::move(row));
    }

    // Returns a pointer to the table. Counting many at once saves most of the cost.
    WeakPtr<DataTable> TakeLink() {
        if (m_links.empty()) {
            m_links.reserve(LINKS_AT_ONCE);
            const CriticalSectionLock lock(RCUtils::s_cs);
            m_links.resize(LINKS_AT_ONCE, WeakPtr<DataTable>(m_table));
        }
        WeakPtr<DataTable> link = std::move(m_links.back());
        m_links.pop_back();
        return link;
    }

    template <class Ex, class... Parts>
    [[noreturn]] void ThrowInLine(LogPlace place, const Parts&... message) {
        if (m_path == nullptr) {
            Throw<Ex>(place, message...);
        }
        MemOS info;
        info << *m_path << ": line " << m_lineNumber;
        ThrowWithInfo<DataTableEx>(place, info.ToString(), "Could not load ", *m_path, ": ",
                                   message...);
    }

    static constexpr std::size_t LINKS_AT_ONCE = 32;

    DataTable* m_table;
    std::unique_ptr<char[]> m_block;
    LineReader m_lines;
    SeparatorSet m_separators;
    const Flags m_flags;
    const std::string* const m_path;
    std::size_t m_lineNumber = 0;
    // Number of parts of the previous line, which most lines share.
    std::size_t m_expectedParts = 0;
    // Pointers for the rows to come.
    std::vector<WeakPtr<DataTable>> m_links;
};

void DataTable::ReadFromCSV(std::istream& in, const char* separators, bool strictFieldCount,
                            bool hasHeader, bool collapseSeparators, bool skipToBlankLine) {
    DataTableReader(this, in, separators,
                    {strictFieldCount, hasHeader, collapseSeparators, skipToBlankLine})
        .Read();
}

RCPtr<DataTable> DataTable::Load(const std::string& path, const char* separators,
                                 bool strictFieldCount, bool hasHeader, bool collapseSeparators,
                                 bool skipToBlankLine) {
    std::ifstream in(path, std::ios_base::binary);
    if (!in) {
        Throw<DataTableEx>(s_log, "Could not load ", path, ": ",
                           platform::SystemErrorText(platform::LastSystemError()));
    }
    RCPtr<DataTable> table(new DataTable);
    table->m_path = path;
    try {
        in.exceptions(std::ios_base::badbit);
        DataTableReader(table.Get(), in, separators,
                        {strictFieldCount, hasHeader, collapseSeparators, skipToBlankLine}, &path)
            .Read();
    } catch (const std::ios_base::failure& failure) {
        Throw<DataTableEx>(s_log, "Could not load ", path, ": ", failure.code().message());
    }
    return table;
}

}  // namespace zel
