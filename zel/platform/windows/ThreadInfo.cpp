#include "zel/platform/ThreadInfo.h"

#include <array>
#include <windows.h>

// Needs the definitions of windows.h.
#include <timeapi.h>

namespace zel::platform {

namespace {

using SetDescription = HRESULT(WINAPI*)(HANDLE thread, PCWSTR description);

// Older systems lack the function, and so do import libraries.
SetDescription FindSetDescription() noexcept {
    const FARPROC found =
        ::GetProcAddress(::GetModuleHandleA("kernelbase.dll"), "SetThreadDescription");
    return reinterpret_cast<SetDescription>(reinterpret_cast<void*>(found));
}

}  // namespace

void SetCurrentThreadName(const std::string& name) noexcept {
    std::array<wchar_t, 256> text = {};
    const auto size = static_cast<int>(text.size()) - 1;
    static const SetDescription s_setDescription = FindSetDescription();
    if (s_setDescription != nullptr && !name.empty() &&
        ::MultiByteToWideChar(CP_ACP, 0, name.c_str(), -1, text.data(), size) != 0) {
        s_setDescription(::GetCurrentThread(), text.data());
    }
}

std::uint64_t CurrentThreadNumber() noexcept {
    return ::GetCurrentThreadId();
}

double MakeCurrentThreadPunctual() noexcept {
    // One resolution serves the whole process.
    constexpr UINT milliseconds = 1;
    [[maybe_unused]] static const MMRESULT s_isSet = ::timeBeginPeriod(milliseconds);
    return 1e-3;
}

std::uint64_t CurrentProcessNumber() noexcept {
    return ::GetCurrentProcessId();
}

}  // namespace zel::platform
