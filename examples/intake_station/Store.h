#pragma once

#include "Batch.h"

#include <cstdint>
#include <functional>
#include <istream>
#include <string>

// The file of accepted rows. It holds the version of its layout, and then one batch behind the
// other, each a block of bytes behind its length: name and time of the file it came from, the
// number of its records, and the values in the stream form. A batch counts once its last byte is
// there, so that a program which is killed in the middle leaves a tail that the next one cuts off.
class Store {
public:
    // Opens the file, or makes it, and cuts off an unfinished batch. Throws SerEx for a file that
    // is none of ours.
    Store(std::string path, Record prototypes);

    // Writes the batch at one stroke. Throws std::runtime_error if that fails; then the file is as
    // it was.
    void Append(const Batch& batch);

    // The file that the last batch came from; without a name if there is none.
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
