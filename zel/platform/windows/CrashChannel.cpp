#include "zel/platform/CrashChannel.h"

#include "zel/platform/windows/Handle.h"
#include "zel/platform/windows/PipeOperation.h"

#include <cstdio>

namespace zel::platform {

namespace {

constexpr DWORD BUFFER_SIZE = 4096;
constexpr DWORD SEND_TIMEOUT = 1000;  // milliseconds, as the next
constexpr DWORD FREE_CHANNEL_TIMEOUT = 5000;
constexpr DWORD REOPEN_INTERVAL = 10;

HANDLE OpenFile(const char* name) noexcept {
    return ::CreateFileA(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
}

std::intptr_t ValueOf(HANDLE handle) noexcept {
    return reinterpret_cast<std::intptr_t>(handle);
}

void CloseValue(std::intptr_t& value) noexcept {
    const DWORD error = ::GetLastError();
    Handle(HandleOf(value)).Close();
    value = -1;
    ::SetLastError(error);
}

}  // namespace

bool CrashChannel::Create(const char* program) noexcept {
    const int length =
        std::snprintf(m_name.data(), m_name.size(), "\\\\.\\pipe\\%s_crash_data.fifo", program);
    if (length < 0 || static_cast<std::size_t>(length) >= m_name.size()) {
        ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return false;
    }
    const HANDLE event = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (event == nullptr) {
        return false;
    }
    m_reader = ValueOf(event);
    m_writer = ValueOf(::CreateNamedPipeA(m_name.data(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                          PIPE_TYPE_BYTE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES,
                                          BUFFER_SIZE, BUFFER_SIZE, 0, nullptr));
    if (!IsOpen()) {
        CloseReader();
    }
    return IsOpen();
}

bool CrashChannel::IsOpen() const noexcept {
    return HandleOf(m_writer) != INVALID_HANDLE_VALUE;
}

const char* CrashChannel::GetName() const noexcept {
    return m_name.data();
}

void CrashChannel::CloseReader() noexcept {
    CloseValue(m_reader);
}

// The program may have closed the handle by mistake, and it may be another one now.
bool CrashChannel::IsUnchanged() const noexcept {
    DWORD flags = 0;
    return IsOpen() &&
           ::GetNamedPipeInfo(HandleOf(m_writer), &flags, nullptr, nullptr, nullptr) != 0 &&
           (flags & PIPE_SERVER_END) != 0;
}

bool CrashChannel::Send(const void* data, std::size_t size) const noexcept {
    if (!IsUnchanged()) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return false;
    }
    const HANDLE pipe = HandleOf(m_writer);
    const auto* position = static_cast<const char*>(data);
    while (size > 0) {
        PipeOperation write(pipe, HandleOf(m_reader));
        DWORD written = 0;
        const bool hasSucceeded =
            ::WriteFile(pipe, position, static_cast<DWORD>(size), nullptr, write.GetState()) != 0;
        const DWORD error = write.Finish(hasSucceeded, nullptr, SEND_TIMEOUT, written);
        if (error != ERROR_SUCCESS || written == 0) {
            ::SetLastError(error);
            return false;
        }
        position += written;
        size -= written;
    }
    return true;
}

void CrashChannel::Close() noexcept {
    CloseValue(m_writer);
    CloseReader();
}

CrashChannelReader::~CrashChannelReader() {
    Close();
}

bool CrashChannelReader::Open(const char* name) noexcept {
    std::snprintf(m_name.data(), m_name.size(), "%s", name);
    HANDLE file = OpenFile(name);
    // Waits for an instance of the pipe that no other process has opened.
    if (file == INVALID_HANDLE_VALUE && ::GetLastError() == ERROR_PIPE_BUSY &&
        ::WaitNamedPipeA(name, FREE_CHANNEL_TIMEOUT) != 0) {
        file = OpenFile(name);
    }
    m_reader = ValueOf(file);
    const DWORD type = file == INVALID_HANDLE_VALUE ? FILE_TYPE_DISK : ::GetFileType(file);
    if (type != FILE_TYPE_DISK && type != FILE_TYPE_PIPE) {
        Close();
        ::SetLastError(ERROR_INVALID_PARAMETER);
    }
    return HandleOf(m_reader) != INVALID_HANDLE_VALUE;
}

std::size_t CrashChannelReader::Read(void* buffer, std::size_t size) noexcept {
    DWORD count = 0;
    while (::ReadFile(HandleOf(m_reader), buffer, static_cast<DWORD>(size), &count, nullptr) == 0) {
        // Programs of the same name share the name of the pipe. One whose daemon is another process
        // has disconnected this one, and the right one is still waiting.
        if (::GetLastError() != ERROR_PIPE_NOT_CONNECTED) {
            return 0;
        }
        Close();
        ::Sleep(REOPEN_INTERVAL);
        if (!Open(m_name.data())) {
            return 0;
        }
    }
    return count;
}

void CrashChannelReader::Close() noexcept {
    CloseValue(m_reader);
}

}  // namespace zel::platform
