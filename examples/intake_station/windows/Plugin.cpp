#include "../Plugin.h"

#include <filesystem>
#include <system_error>
#include <windows.h>

void* LoadFunction(const std::string& path, const char* name) {
    // A path without a directory would be searched for elsewhere.
    const std::string file = std::filesystem::absolute(path + ".dll").make_preferred().string();
    const HMODULE plugin = LoadLibraryA(file.c_str());
    const FARPROC function = plugin == nullptr ? nullptr : GetProcAddress(plugin, name);
    if (function == nullptr) {
        const auto error = static_cast<int>(GetLastError());
        throw std::system_error(error, std::system_category(), file);
    }
    return reinterpret_cast<void*>(function);
}
