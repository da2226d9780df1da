#pragma once

#include "Filters.h"
#include "Settings.h"
#include "Store.h"

#include <string>

// Takes files into the store. Its calls run on one thread, that of the commands.
class Intake : public zel::RCObject {
public:
    // Opens the store, and finishes what a program before this one was killed in.
    explicit Intake(const Settings& settings);

    // Reads a file of the drop folder, sets its bad rows aside, stores the others and moves the
    // file to the folder of those that are done. A file that can't be taken is logged and stays.
    void TakeFile(std::string path);

    // "7 files, 375 rows accepted, 2 rejected, 13 filtered", counted since the start.
    std::string GetSummary() const;

private:
    void Accept(const Batch& batch);
    void SetAside(const Batch& batch) const;
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
