#include "zel/platform/SystemErrorText.h"

#include <cerrno>
#include <cstring>

namespace zel::platform {

const char* SystemErrorText(int number) noexcept {
    const char* const text = strerrordesc_np(number);
    return text == nullptr ? "" : text;
}

const char* LastSystemErrorText() noexcept {
    return SystemErrorText(errno);
}

}  // namespace zel::platform
