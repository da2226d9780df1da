#include "zel/platform/DirectoryWalk.h"

#include <windows.h>

namespace zel::platform {

const char DirectoryWalk::SEPARATOR = '\\';

namespace {

// Symbolic links and junctions of directories have a reparse point, as have other directories whose
// entries aren't stored in them.
bool IsOwnDirectory(DWORD attributes) noexcept {
    constexpr DWORD mask = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    return (attributes & mask) == FILE_ATTRIBUTE_DIRECTORY;
}

}  // namespace

struct DirectoryWalk::Body {
    ~Body() {
        if (search != INVALID_HANDLE_VALUE) {
            ::FindClose(search);
        }
    }

    void Open(const std::string& path) {
        search = ::FindFirstFileA((path + "\\*.*").c_str(), &entry);
        hasEntry = search != INVALID_HANDLE_VALUE;
        const DWORD error = hasEntry ? ERROR_SUCCESS : ::GetLastError();
        isOutOfResources = error == ERROR_TOO_MANY_OPEN_FILES || error == ERROR_OUTOFMEMORY ||
                           error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_NO_SYSTEM_RESOURCES;
    }

    HANDLE search = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAA entry = {};
    bool hasEntry = false;  // one that hasn't been returned
    bool isOutOfResources = false;
};

DirectoryWalk::DirectoryWalk(const std::string& path, Link link) : m_body(new Body) {
    if (link == Link::Follow || IsOwnDirectory(::GetFileAttributesA(path.c_str()))) {
        m_body->Open(path);
    }
}

DirectoryWalk::~DirectoryWalk() = default;

bool DirectoryWalk::IsOutOfResources() const noexcept {
    return m_body->isOutOfResources;
}

bool DirectoryWalk::Next(DirectoryEntry& entry) {
    if (!m_body->hasEntry && (m_body->search == INVALID_HANDLE_VALUE ||
                              ::FindNextFileA(m_body->search, &m_body->entry) == 0)) {
        return false;
    }
    m_body->hasEntry = false;
    entry.name = m_body->entry.cFileName;
    entry.isDirectory = IsOwnDirectory(m_body->entry.dwFileAttributes);
    return true;
}

}  // namespace zel::platform
