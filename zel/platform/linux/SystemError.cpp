#include "zel/platform/SystemError.h"

#include <cerrno>
#include <cstring>

namespace zel::platform {

int LastSystemError() noexcept {
    return errno;
}

std::string SystemErrorText(int number) {
    const char* const text = strerrordesc_np(number);
    return text == nullptr ? "" : text;
}

}  // namespace zel::platform
