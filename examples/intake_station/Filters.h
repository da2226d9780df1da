#pragma once

#include <map>
#include <string>
#include <vector>

extern "C" {
// Returns non-zero to keep the row of a cell.
using KeepCell = int (*)(const char* cell);
}

// Filters added by plug-ins. A plug-in is a shared object that exports one C function,
//
//     void InstallFilters(void* addFilter);
//
// which adds any number of filters with the key that is passed to it:
//
//     ZelCppBridge(addFilter, "name of a column", KeepCell);
class Filters {
public:
    Filters();
    ~Filters();
    Filters(const Filters&) = delete;
    Filters& operator=(const Filters&) = delete;

    // Loads a plug-in, which is never unloaded; its path is without the system's suffix. Throws
    // std::runtime_error on failure.
    void Load(const std::string& path);

    bool Keeps(const std::string& column, const std::string& cell) const;

private:
    std::map<std::string, std::vector<KeepCell>> m_filters;
};
