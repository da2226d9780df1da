#include "zel/platform/WriteMonitor.h"

#include "zel/platform/windows/Handle.h"

namespace zel::platform {

// The system doesn't report when files are closed.
std::unique_ptr<WriteMonitor> OpenWriteMonitor() {
    return nullptr;
}

bool IsOpenForWriting(const std::string& path) noexcept {
    const Handle reader(::CreateFileA(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    return !reader.IsOpen() && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

}  // namespace zel::platform
