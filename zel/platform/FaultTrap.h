#pragma once

#include "zel/foundation/Export.h"

#include <chrono>
#include <cstdint>

namespace zel::platform {

/// Catches faults that end the process. Each system implements these. The handler of a fault may
/// neither allocate nor wait for a lock; none of these does.

/// A fault, and the thread that failed.
struct FaultRecord {
    std::uint32_t code = 0;     ///< see CrashHandler::Code2Str; 0 if the kind has no name
    int flags = 0;              ///< the system's own name of the kind, or its flags
    int error = 0;              ///< the system's error number at the fault
    std::uint32_t thread = 0;   ///< the number that the system's tools show
    std::uint64_t address = 0;  ///< of the instruction
    void* context = nullptr;    ///< for StackWalker
};

/// Receives the system's description of a fault on the thread that failed, and doesn't return.
using FaultFilter = long(ZEL_SYSTEM_CALL*)(ExceptionPointers* pointers);

/// Calls `filter` for the first fatal fault of this process from now on, on the thread that failed,
/// and on its FaultStack or, if it has none, on one that is kept for this. Other threads that fail
/// meanwhile wait for EndByFault, at most five seconds.
///
/// Handlers that were installed before run first. `filter` isn't called if they don't return, or if
/// the fault doesn't come back after they have. In a process that was forked from this one faults
/// have the effect that they had before this call, until it makes the call itself.
void CatchFaults(FaultFilter filter) noexcept;

using FaultHandler = void (*)(const FaultRecord& fault);

/// Calls `handler`, which doesn't return, on the thread that failed, or on one that is kept for it
/// where the system leaves the former no stack. Call it in the filter.
[[noreturn]] void HandleFault(ExceptionPointers& pointers, FaultHandler handler) noexcept;

/// Runs `work` in the handler of a fault and abandons it if it faults or exceeds the time limit. If
/// the system refuses a timer there is no limit. Calls can be nested; an inner one can't exceed the
/// limit of an outer one. Returns false if the work was abandoned; what it has done remains.
/// `work` may run on another thread than the handler. Requires: objects that it makes on the stack
/// don't need their destructors.
bool DoGuarded(void (*work)(void* argument), void* argument,
               std::chrono::milliseconds limit) noexcept;

/// Ends the process as the fault would have ended it. Call it in the handler.
[[noreturn]] void EndByFault(const FaultRecord& fault) noexcept;

/// Writes a text to standard error without buffering.
void WriteToStandardError(const char* text) noexcept;

}  // namespace zel::platform
