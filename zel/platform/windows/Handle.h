#pragma once

#include <cstdint>
#include <utility>
#include <windows.h>

namespace zel::platform {

// A handle of a file, closed when it is destroyed.
class Handle {
public:
    explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE) noexcept : m_handle(handle) {}
    ~Handle() { Close(); }
    Handle(Handle&& other) noexcept
        : m_handle(std::exchange(other.m_handle, INVALID_HANDLE_VALUE)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }

    bool IsOpen() const noexcept { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const noexcept { return m_handle; }

    void Close() noexcept {
        if (IsOpen()) {
            ::CloseHandle(std::exchange(m_handle, INVALID_HANDLE_VALUE));
        }
    }

private:
    HANDLE m_handle;
};

// Converts a handle that is kept in a type for every system.
inline HANDLE HandleOf(std::intptr_t value) noexcept {
    return reinterpret_cast<HANDLE>(value);
}

constexpr DWORD SHARE_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace zel::platform
