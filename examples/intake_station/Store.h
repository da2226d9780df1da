#pragma once

#include "Batch.h"

#include <cstdint>
#include <functional>
#include <istream>
#include <string>

// The file of accepted rows: a version record followed by batches. A batch is its length in bytes,
// name and write time of its source file, the number of its records, and the values in stream form.
// A batch is valid when its last byte is written: if the program is killed before that, the next
// one truncates the incomplete batch.
class Store {
public:
    // Opens or creates the file and truncates an incomplete batch. Throws SerEx if the file is not
    // a store.
    Store(std::string path, Record prototypes);

    // Appends a batch. Throws std::runtime_error on failure, and leaves the file unchanged.
    void Append(const Batch& batch);

    // Returns the source of the last batch, with an empty name if there is none.
    const Source& GetLastSource() const { return m_lastSource; }

    std::uint64_t GetRecordCount() const { return m_recordCount; }

    // Calls `visit` for each record, in order.
    static void Read(const std::string& path, const Record& prototypes,
                     const std::function<void(const Record&)>& visit);

private:
    std::string m_path;
    Record m_prototypes;
    Source m_lastSource;
    std::uint64_t m_recordCount = 0;
    std::uint64_t m_size = 0;
};
