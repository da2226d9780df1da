#include "zel/platform/WindowStack.h"

namespace zel::platform {

std::unique_ptr<WindowStack> OpenWindowStack() {
    return nullptr;
}

}  // namespace zel::platform
