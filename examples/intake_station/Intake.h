#pragma once

#include "Filters.h"
#include "Settings.h"
#include "Store.h"

#include <string>

// Imports files into the store. Not thread-safe: all calls run on the command thread.
class Intake : public zel::RCObject {
public:
    // Opens the store, and completes the import that a previous program was killed in.
    explicit Intake(const Settings& settings);

    // Reads a file of the drop folder, writes its bad rows to the rejected folder, stores the
    // others and moves the file to the done folder. A file that can't be imported is logged and
    // stays where it is.
    void TakeFile(std::string path);

    // Returns "7 files, 375 rows accepted, 2 rejected, 13 filtered", counted since the start.
    std::string GetSummary() const;

private:
    void Accept(const Batch& batch);
    void WriteRejected(const Batch& batch) const;
    void MoveToDone(const Source& source) const;

    const Settings m_settings;
    const Record m_prototypes;
    Filters m_filters;
    Store m_store;
    std::size_t m_files = 0;
    std::size_t m_accepted = 0;
    std::size_t m_rejected = 0;
    std::size_t m_filtered = 0;
};
