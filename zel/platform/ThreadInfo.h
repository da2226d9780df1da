#pragma once

#include <cstdint>
#include <string>

namespace zel::platform {

// What the system knows of the calling thread and its process. A new system must offer these; where
// it has no names for threads or wakes them as exactly as it can anyway, that call does nothing.

// Names the calling thread for debuggers and process listings. A name that is too long for the
// system is cut; one that is empty changes nothing.
void SetCurrentThreadName(const std::string& name) noexcept;

// The number under which the system's tools show the calling thread.
std::uint64_t CurrentThreadNumber() noexcept;

// Lets the calling thread's waits end as near to their time as the system can, instead of together
// with others.
void MakeCurrentThreadPunctual() noexcept;

// The number of the process.
std::uint64_t CurrentProcessNumber() noexcept;

}  // namespace zel::platform
