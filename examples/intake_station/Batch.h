#pragma once

#include "zel/variant/Variant.h"

#include "Settings.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// One row as typed values, in the order of the columns.
using Record = std::vector<zel::RCPtr<zel::VariantBase>>;

// A file of the drop folder. Another of the same name may come later, with a time of its own.
struct Source {
    std::string name;  // without its folders
    std::int64_t writeTime = 0;

    // What no other file of the drop folder has, however often a name returns.
    std::string GetUniqueName() const;
};

// When a file was written last, in ticks of the file system's clock.
std::int64_t GetWriteTime(const std::string& path);

// What one file gave.
struct Batch {
    Source source;
    std::vector<Record> records;
    std::vector<std::string> rejected;  // a line for each row that is set aside: place, reason, row
    std::size_t filtered = 0;           // rows that a filter didn't want
};

// A value of each column's type, to be cloned. Throws VariantEx for a type that there isn't.
Record MakePrototypes(const std::vector<Column>& columns);

// True to keep a row, by the text of its cell in a column.
using KeepRow = std::function<bool(const std::string& column, const std::string& cell)>;

// Reads a file whose first line names its columns, in any order and with others among them. Throws
// std::runtime_error for one that can't be read or lacks a column.
Batch ReadBatch(const std::string& path, const std::vector<Column>& columns,
                const Record& prototypes, const KeepRow& keep);
