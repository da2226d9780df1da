#include "Filters.h"

#include "zel/bridge/CFuncBinder.h"

#include <algorithm>
#include <dlfcn.h>
#include <stdexcept>

Filters::Filters() {
    zel::CBinder::Prepare();
    zel::RegisterFunction(
        this, [this](const char* column, KeepCell keep) { m_filters[column].push_back(keep); });
}

Filters::~Filters() {
    zel::CBinder::Release();
}

void Filters::Load(const std::string& path) {
    void* const plugin = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const install = plugin == nullptr ? nullptr : dlsym(plugin, "InstallFilters");
    if (install == nullptr) {
        throw std::runtime_error(dlerror());
    }
    reinterpret_cast<void (*)(void*)>(install)(this);
}

bool Filters::Keeps(const std::string& column, const std::string& cell) const {
    const auto found = m_filters.find(column);
    return found == m_filters.end() || std::ranges::all_of(found->second, [&](KeepCell keep) {
               return keep(cell.c_str()) != 0;
           });
}
