#pragma once

#include <cstdint>
#include <string>

namespace zel::platform {

/// Properties of the calling thread and its process. Each system implements these; a call without a
/// counterpart on the system has no effect.

/// Sets the name that debuggers and process listings show for the calling thread. A name that is
/// too long for the system is truncated; an empty one changes nothing.
void SetCurrentThreadName(const std::string& name) noexcept;

/// Returns the number that the system's tools show for the calling thread.
std::uint64_t CurrentThreadNumber() noexcept;

/// Makes the calling thread's waits end as close to their time as the system can, instead of
/// together with the waits of other threads. Returns the usual delay of such a wait, in seconds.
double MakeCurrentThreadPunctual() noexcept;

/// Returns the number of the process.
std::uint64_t CurrentProcessNumber() noexcept;

}  // namespace zel::platform
