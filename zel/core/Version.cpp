#include "zel/core/Version.h"

namespace zel {

int GetLoadedVersion() noexcept {
    return ZEL_VERSION;
}

const char* GetLoadedVersionText() noexcept {
    return ZEL_VERSION_TEXT;
}

}  // namespace zel
