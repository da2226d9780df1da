#include "../Plugin.h"

#include <dlfcn.h>
#include <stdexcept>

void* LoadFunction(const std::string& path, const char* name) {
    void* const plugin = dlopen((path + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = plugin == nullptr ? nullptr : dlsym(plugin, name);
    if (function == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return function;
}
