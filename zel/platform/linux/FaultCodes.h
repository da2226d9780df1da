#pragma once

#include <csignal>
#include <cstdint>
#include <ucontext.h>

namespace zel::platform {

/// Returns the code of FaultRecord for a signal, 0 if none fits.
std::uint32_t CodeOfSignal(const siginfo_t& signal, const ucontext_t& context) noexcept;

/// Returns whether the signal is that of a call of `abort` on this thread, in whose handler this
/// is.
bool IsAbort(int signal, const siginfo_t& info) noexcept;

}  // namespace zel::platform
