#pragma once

#include <atomic>
#include <windows.h>

namespace zel::platform {

// A thread that is started ahead and waits for work, because a crashing process can't start one.
class KeptThread {
public:
    using Work = void (*)(void* argument);

    // Starts the thread and waits until it is ready. Requires: the object is never destroyed.
    void Start() noexcept;

    // Returns whether the thread runs. The system ends it before static objects of DLLs are
    // destroyed.
    bool IsRunning() const noexcept;

    bool IsCurrent() const noexcept { return m_id == ::GetCurrentThreadId(); }

    // Begins to run the work. Requires: it runs none.
    void Begin(Work work, void* argument) noexcept;

    // Waits for the end of the work. Returns false if it has failed or takes too long.
    bool Wait(DWORD milliseconds) noexcept;

    // Ends the work of this thread, which is the calling one, as failed.
    [[noreturn]] void Fail() noexcept;

    void Suspend() const noexcept { ::SuspendThread(m_thread); }

private:
    static DWORD WINAPI Run(void* argument) noexcept;

    HANDLE m_thread = nullptr;
    HANDLE m_begin = nullptr;
    HANDLE m_end = nullptr;
    DWORD m_id = 0;
    Work m_work = nullptr;
    void* m_argument = nullptr;
    std::atomic<bool> m_hasFailed{false};
};

}  // namespace zel::platform
