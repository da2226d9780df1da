#pragma once

#include "zel/variant/Variant.h"

#include "Settings.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// One row as typed values, in the order of the columns.
using Record = std::vector<zel::RCPtr<zel::VariantBase>>;

// A file of the drop folder. A later file may have the same name and another write time.
struct Source {
    std::string name;  // without directories
    std::int64_t writeTime = 0;

    // Returns a name that is unique even if file names repeat.
    std::string GetUniqueName() const;
};

// Returns the time of the last write to a file, in ticks of the system clock.
std::int64_t GetWriteTime(const std::string& path);

// The content of one file.
struct Batch {
    Source source;
    std::vector<Record> records;
    std::vector<std::string> rejected;  // one line for each rejected row: position, reason, row
    std::size_t filtered = 0;           // number of rows that a filter dropped
};

// Returns a value of each column's type, to be cloned. Throws VariantEx for an unknown type.
Record MakePrototypes(const std::vector<Column>& columns);

// Returns whether to keep a row, given the text of its cell in a column.
using KeepRow = std::function<bool(const std::string& column, const std::string& cell)>;

// Reads a file whose first line names its columns. Their order is free, and further columns are
// ignored. Throws std::runtime_error if the file can't be read or lacks a column.
Batch ReadBatch(const std::string& path, const std::vector<Column>& columns,
                const Record& prototypes, const KeepRow& keep);
