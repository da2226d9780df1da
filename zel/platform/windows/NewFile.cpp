#include "zel/platform/NewFile.h"

#include "zel/platform/windows/Handle.h"

#include <sddl.h>

namespace zel::platform {

namespace {

// Access rights of the owner only, which aren't those of the directory.
class OwnerOnly {
public:
    OwnerOnly() noexcept {
        constexpr const char* rights = "D:P(A;;FA;;;OW)";
        ::ConvertStringSecurityDescriptorToSecurityDescriptorA(
            rights, SDDL_REVISION_1, &m_attributes.lpSecurityDescriptor, nullptr);
    }

    ~OwnerOnly() { ::LocalFree(m_attributes.lpSecurityDescriptor); }
    OwnerOnly(const OwnerOnly&) = delete;
    OwnerOnly& operator=(const OwnerOnly&) = delete;

    SECURITY_ATTRIBUTES* Get() noexcept { return &m_attributes; }

private:
    SECURITY_ATTRIBUTES m_attributes = {sizeof(m_attributes), nullptr, FALSE};
};

}  // namespace

int WriteNewFile(const std::string& path, std::string_view text, bool& fileExists) {
    OwnerOnly rights;
    const Handle file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, rights.Get(), CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
    fileExists = !file.IsOpen() && ::GetLastError() == ERROR_FILE_EXISTS;
    DWORD written = 0;
    const bool isWritten = file.IsOpen() &&
                           ::WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()),
                                       &written, nullptr) != 0 &&
                           ::FlushFileBuffers(file.Get()) != 0;
    return isWritten ? 0 : static_cast<int>(::GetLastError());
}

}  // namespace zel::platform
