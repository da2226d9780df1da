#include "zel/platform/AppendFile.h"

#include "zel/platform/windows/Handle.h"

namespace zel::platform {

struct AppendFile::Body {
    explicit Body(std::string name) : path(std::move(name)) { Open(); }

    // Opens the file that the path names, without access to its content.
    Handle OpenNamed() const noexcept {
        return Handle(::CreateFileA(path.c_str(), 0, SHARE_ALL, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    bool PathNamesOpenFile() const noexcept {
        const Handle other = OpenNamed();
        BY_HANDLE_FILE_INFORMATION opened = {};
        BY_HANDLE_FILE_INFORMATION named = {};
        return file.IsOpen() && other.IsOpen() &&
               ::GetFileInformationByHandle(file.Get(), &opened) != 0 &&
               ::GetFileInformationByHandle(other.Get(), &named) != 0 &&
               opened.dwVolumeSerialNumber == named.dwVolumeSerialNumber &&
               opened.nFileIndexHigh == named.nFileIndexHigh &&
               opened.nFileIndexLow == named.nFileIndexLow;
    }

    void Open() noexcept {
        // A removed file keeps its name until its last handle is closed.
        file.Close();
        file = Handle(::CreateFileA(path.c_str(), FILE_APPEND_DATA, SHARE_ALL, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    const std::string path;
    Handle file;
};

AppendFile::AppendFile(std::string path) : m_body(std::make_unique<Body>(std::move(path))) {}

AppendFile::~AppendFile() = default;

bool AppendFile::IsOpen() const noexcept {
    return m_body->file.IsOpen();
}

std::uint64_t AppendFile::GetSize() const noexcept {
    LARGE_INTEGER size = {};
    return ::GetFileSizeEx(m_body->OpenNamed().Get(), &size) != 0
               ? static_cast<std::uint64_t>(size.QuadPart)
               : 0;
}

bool AppendFile::Append(std::string_view text) noexcept {
    if (!m_body->PathNamesOpenFile()) {
        m_body->Open();
    }
    const auto size = static_cast<DWORD>(text.size());
    DWORD written = 0;
    return IsOpen() && ::WriteFile(m_body->file.Get(), text.data(), size, &written, nullptr) != 0 &&
           written == text.size();
}

}  // namespace zel::platform
