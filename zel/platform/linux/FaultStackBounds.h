#pragma once

#include <cstdint>
#include <ucontext.h>

namespace zel::platform {

// Where the stack ends that the thread of a signal handler ran on: its lowest address. 0 if the
// handler doesn't run on a FaultStack, or that couldn't tell.
std::uintptr_t EndOfFaultingStack(const ucontext_t& context) noexcept;

}  // namespace zel::platform
