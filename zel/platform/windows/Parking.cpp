#include "zel/platform/Parking.h"

#include <windows.h>

namespace zel::platform {

void Park(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept {
    // Some implementations of the system have no process-wide barrier, without which a thread may
    // miss its wake-up.
    constexpr DWORD milliseconds = 10;
    const DWORD error = ::GetLastError();
    ::WaitOnAddress(&word, &expected, sizeof expected, milliseconds);
    ::SetLastError(error);
}

void UnparkOne(std::atomic<std::uint32_t>& word) noexcept {
    ::WakeByAddressSingle(&word);
}

void ProcessWideBarrier() noexcept {
    ::FlushProcessWriteBuffers();
}

}  // namespace zel::platform
