#include "zel/platform/StackTrace.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <memory>

namespace zel::platform {

bool UndecorateName(const char* name, bool mayAllocate, char* buffer, std::size_t size) {
    // A name without this prefix would be read as that of a type.
    const bool isMangled = mayAllocate && std::strncmp(name, "_Z", 2) == 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        isMangled ? abi::__cxa_demangle(name, nullptr, nullptr, nullptr) : nullptr, &std::free);
    const std::size_t length = text == nullptr ? 0 : std::min(std::strlen(text.get()), size - 1);
    std::copy_n(text.get(), length, buffer);
    buffer[length] = '\0';
    return length != 0;
}

}  // namespace zel::platform
