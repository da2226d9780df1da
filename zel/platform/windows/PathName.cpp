#include "zel/platform/PathName.h"

#include <cstring>

namespace zel::platform {

const char* FileOfPath(const char* path) noexcept {
    const char* const separator = std::strrchr(path, '\\');
    return separator == nullptr ? path : separator + 1;
}

}  // namespace zel::platform
