#pragma once

#include <windows.h>

namespace zel::platform {

// An operation on a pipe that doesn't block. It is cancelled if it takes too long.
class PipeOperation {
public:
    // The event is the pipe's; it serves one operation at a time.
    PipeOperation(HANDLE pipe, HANDLE event) noexcept : m_pipe(pipe) { m_state.hEvent = event; }

    OVERLAPPED* GetState() noexcept { return &m_state; }

    // Waits for an operation whose call has returned `hasSucceeded`, until `other`, which may be
    // null, is signalled. Returns the system's error number, and in `size` the bytes that were
    // transferred.
    DWORD Finish(bool hasSucceeded, HANDLE other, DWORD milliseconds, DWORD& size) noexcept {
        if (!hasSucceeded && ::GetLastError() != ERROR_IO_PENDING) {
            return ::GetLastError();
        }
        const HANDLE sources[] = {m_state.hEvent, other};
        const DWORD count = other == nullptr ? 1 : 2;
        const bool isDone =
            ::WaitForMultipleObjects(count, sources, FALSE, milliseconds) == WAIT_OBJECT_0;
        if (!isDone) {
            ::CancelIo(m_pipe);
        }
        return ::GetOverlappedResult(m_pipe, &m_state, &size, TRUE) != 0 ? ERROR_SUCCESS
                                                                         : ::GetLastError();
    }

private:
    HANDLE m_pipe;
    OVERLAPPED m_state = {};
};

}  // namespace zel::platform
