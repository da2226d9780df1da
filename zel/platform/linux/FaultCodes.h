#pragma once

#include <csignal>
#include <cstdint>
#include <ucontext.h>

namespace zel::platform {

/// Returns the code of FaultRecord for a signal, 0 if none fits.
std::uint32_t CodeOfSignal(const siginfo_t& signal, const ucontext_t& context) noexcept;

}  // namespace zel::platform
