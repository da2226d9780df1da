#include "zel/platform/SystemError.h"

#include <array>
#include <windows.h>

namespace zel::platform {

int LastSystemError() noexcept {
    return static_cast<int>(::GetLastError());
}

std::string SystemErrorText(int number) {
    std::array<char, 512> text = {};
    const DWORD length = ::FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
        static_cast<DWORD>(number), 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    const std::string found(text.data(), length);
    return found.substr(0, found.find_last_not_of(" .\r\n") + 1);
}

}  // namespace zel::platform
