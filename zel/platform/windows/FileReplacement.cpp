#include "zel/platform/FileReplacement.h"

#include "zel/platform/windows/Handle.h"

#include <atomic>
#include <limits>
#include <vector>

namespace zel::platform {

namespace {

int LastError() noexcept {
    return static_cast<int>(::GetLastError());
}

// Returns the path without links, or the path as it is if the system doesn't know one.
std::string ResolveLinks(const std::string& path, HANDLE file) {
    const DWORD size = ::GetFinalPathNameByHandleA(file, nullptr, 0, FILE_NAME_NORMALIZED);
    std::string resolved(size, '\0');
    const DWORD length =
        ::GetFinalPathNameByHandleA(file, resolved.data(), size, FILE_NAME_NORMALIZED);
    resolved.resize(length);
    return length == 0 || length >= size ? path : resolved;
}

std::string DirectoryOf(const std::string& path) {
    return path.substr(0, path.find_last_of("\\/:") + 1);
}

std::string MakeTemporaryName() {
    static std::atomic<unsigned> s_count{0};
    return ".zel-" + std::to_string(::GetCurrentProcessId()) + '-' + std::to_string(s_count++) +
           ".tmp";
}

// The access rights of a file, which its replacement gets if the system permits.
class AccessRights {
public:
    void ReadFrom(const std::string& path) {
        DWORD size = 0;
        ::GetFileSecurityA(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
        m_descriptor.resize(size);
        if (::GetFileSecurityA(path.c_str(), DACL_SECURITY_INFORMATION, m_descriptor.data(), size,
                               &size) == 0) {
            m_descriptor.clear();
        }
    }

    void SetTo(const std::string& path) {
        if (!m_descriptor.empty()) {
            ::SetFileSecurityA(path.c_str(), DACL_SECURITY_INFORMATION, m_descriptor.data());
        }
    }

private:
    std::vector<char> m_descriptor;
};

}  // namespace

struct FileReplacement::State {
    // Opening for writing fails for what can't be replaced: a directory, a read-only file, and one
    // that another process has open without sharing it.
    void Examine(const std::string& path) {
        const Handle existing(::CreateFileA(path.c_str(), GENERIC_WRITE, SHARE_ALL, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        target = path;
        if (!existing.IsOpen()) {
            error = LastError() == ERROR_FILE_NOT_FOUND ? 0 : LastError();
        } else if (::GetFileType(existing.Get()) != FILE_TYPE_DISK) {
            error = ERROR_INVALID_PARAMETER;
        } else {
            BY_HANDLE_FILE_INFORMATION information = {};
            ::GetFileInformationByHandle(existing.Get(), &information);
            attributes = information.dwFileAttributes;
            target = ResolveLinks(path, existing.Get());
            rights.ReadFrom(target);
        }
    }

    void Create() {
        // A process of the same number may have left its temporary files.
        do {
            temporary = DirectoryOf(target) + MakeTemporaryName();
            file = Handle(::CreateFileA(temporary.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        } while (!file.IsOpen() && LastError() == ERROR_FILE_EXISTS);
        error = file.IsOpen() ? 0 : LastError();
    }

    void Remove() noexcept {
        file.Close();
        ::DeleteFileA(temporary.c_str());
    }

    std::string target;
    DWORD attributes = FILE_ATTRIBUTE_NORMAL;
    AccessRights rights;
    std::string temporary;
    Handle file;
    int error = 0;
};

FileReplacement::FileReplacement(const std::string& path) : m_state(std::make_unique<State>()) {
    m_state->Examine(path);
    if (m_state->error == 0) {
        m_state->Create();
    }
    if (m_state->error == 0) {
        m_state->rights.SetTo(m_state->temporary);
    }
}

FileReplacement::~FileReplacement() {
    if (m_state->file.IsOpen()) {
        m_state->Remove();
    }
}

bool FileReplacement::Write(std::string_view text) noexcept {
    constexpr std::size_t most = std::numeric_limits<int>::max();
    while (m_state->error == 0 && !text.empty()) {
        const auto size = static_cast<DWORD>(text.size() < most ? text.size() : most);
        DWORD written = 0;
        if (::WriteFile(m_state->file.Get(), text.data(), size, &written, nullptr) == 0) {
            m_state->error = LastError();
        }
        text.remove_prefix(written);
    }
    return m_state->error == 0;
}

int FileReplacement::Commit() noexcept {
    State& state = *m_state;
    if (state.error == 0 && ::FlushFileBuffers(state.file.Get()) == 0) {
        state.error = LastError();
    }
    if (state.error != 0) {
        return state.error;
    }
    state.file.Close();
    ::SetFileAttributesA(state.temporary.c_str(), state.attributes);
    if (::MoveFileExA(state.temporary.c_str(), state.target.c_str(),
                      MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
        state.error = LastError();
        state.Remove();
    }
    return state.error;
}

}  // namespace zel::platform
