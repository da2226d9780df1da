#pragma once

#include <map>
#include <string>
#include <vector>

extern "C" {
// Tells by a cell whether its row is kept.
using KeepCell = int (*)(const char* cell);
}

// The filters that plug-ins add. A plug-in is a shared object with one function in C,
//
//     void InstallFilters(void* addFilter);
//
// which adds as many filters as it likes by the key that it is given:
//
//     ZelCppBridge(addFilter, "name of a column", KeepCell);
class Filters {
public:
    Filters();
    ~Filters();
    Filters(const Filters&) = delete;
    Filters& operator=(const Filters&) = delete;

    // Loads a plug-in for the life of the program. Throws std::runtime_error.
    void Load(const std::string& path);

    bool Keeps(const std::string& column, const std::string& cell) const;

private:
    std::map<std::string, std::vector<KeepCell>> m_filters;
};
