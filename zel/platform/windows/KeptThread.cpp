#include "zel/platform/windows/KeptThread.h"

#include <cerrno>
#include <cstdio>

namespace zel::platform {

namespace {

constexpr SIZE_T STACK_SIZE = 1024 * 1024;
constexpr DWORD START_TIMEOUT = 5000;  // milliseconds

// The C runtime allocates its data of a thread when the thread first needs it.
void PrepareRuntime() noexcept {
    char text[32];
    std::snprintf(text, sizeof(text), "%s 0x%08X", "", static_cast<unsigned>(errno));
}

}  // namespace

void KeptThread::Start() noexcept {
    m_begin = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
    m_end = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (m_begin != nullptr && m_end != nullptr) {
        m_thread = ::CreateThread(nullptr, STACK_SIZE, Run, this, STACK_SIZE_PARAM_IS_A_RESERVATION,
                                  &m_id);
        Wait(START_TIMEOUT);
    }
}

bool KeptThread::IsRunning() const noexcept {
    return m_thread != nullptr && ::WaitForSingleObject(m_thread, 0) == WAIT_TIMEOUT;
}

void KeptThread::Begin(Work work, void* argument) noexcept {
    m_work = work;
    m_argument = argument;
    ::SetEvent(m_begin);
}

bool KeptThread::Wait(DWORD milliseconds) noexcept {
    const HANDLE sources[] = {m_end, m_thread};
    return ::WaitForMultipleObjects(2, sources, FALSE, milliseconds) == WAIT_OBJECT_0 &&
           !m_hasFailed;
}

void KeptThread::Fail() noexcept {
    m_hasFailed = true;
    ::SetEvent(m_end);
    for (;;) {
        ::Sleep(INFINITE);
    }
}

DWORD KeptThread::Run(void* argument) noexcept {
    auto& self = *static_cast<KeptThread*>(argument);
    PrepareRuntime();
    ::SetEvent(self.m_end);
    while (::WaitForSingleObject(self.m_begin, INFINITE) == WAIT_OBJECT_0) {
        self.m_work(self.m_argument);
        ::SetEvent(self.m_end);
    }
    return 0;
}

}  // namespace zel::platform
