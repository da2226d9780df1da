#include "Filters.h"

#include "zel/bridge/CFuncBinder.h"

#include "Plugin.h"

#include <algorithm>

Filters::Filters() {
    zel::CBinder::Prepare();
    zel::RegisterFunction(
        this, [this](const char* column, KeepCell keep) { m_filters[column].push_back(keep); });
}

Filters::~Filters() {
    zel::CBinder::Release();
}

void Filters::Load(const std::string& path) {
    void* const install = LoadFunction(path, "InstallFilters");
    reinterpret_cast<void (*)(void*)>(install)(this);
}

bool Filters::Keeps(const std::string& column, const std::string& cell) const {
    const auto found = m_filters.find(column);
    return found == m_filters.end() || std::ranges::all_of(found->second, [&](KeepCell keep) {
               return keep(cell.c_str()) != 0;
           });
}
