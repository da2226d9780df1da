#include "zel/platform/NewFile.h"

#include "zel/platform/windows/Handle.h"

#include <cstddef>

namespace zel::platform {

namespace {

// Access rights of this user only, which aren't those of the directory. Those of the directory if
// the system refuses.
class OwnerOnly {
public:
    OwnerOnly() noexcept {
        auto* const list = reinterpret_cast<ACL*>(m_list);
        const bool isAllowed =
            ReadUser() && ::InitializeAcl(list, sizeof(m_list), ACL_REVISION) != 0 &&
            ::AddAccessAllowedAce(list, ACL_REVISION, FILE_ALL_ACCESS, GetUser()) != 0 &&
            ::InitializeSecurityDescriptor(&m_descriptor, SECURITY_DESCRIPTOR_REVISION) != 0 &&
            ::SetSecurityDescriptorDacl(&m_descriptor, TRUE, list, FALSE) != 0 &&
            ::SetSecurityDescriptorControl(&m_descriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED) !=
                0;
        m_attributes.lpSecurityDescriptor = isAllowed ? &m_descriptor : nullptr;
    }

    OwnerOnly(const OwnerOnly&) = delete;
    OwnerOnly& operator=(const OwnerOnly&) = delete;

    SECURITY_ATTRIBUTES* Get() noexcept { return &m_attributes; }

private:
    bool ReadUser() noexcept {
        HANDLE token = nullptr;
        DWORD size = 0;
        const bool isRead =
            ::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token) != 0 &&
            ::GetTokenInformation(token, TokenUser, m_user, sizeof(m_user), &size) != 0;
        ::CloseHandle(token);
        return isRead;
    }

    PSID GetUser() noexcept { return reinterpret_cast<TOKEN_USER*>(m_user)->User.Sid; }

    alignas(std::max_align_t) char m_user[256];
    alignas(std::max_align_t) char m_list[256];
    SECURITY_DESCRIPTOR m_descriptor = {};
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
