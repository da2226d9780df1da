#include "zel/platform/SystemErrorText.h"

#include <cstring>

namespace zel::platform {

const char* SystemErrorText(int number) noexcept {
    const char* const text = strerrordesc_np(number);
    return text == nullptr ? "" : text;
}

}  // namespace zel::platform
