#pragma once

#include <cstdint>

namespace zel::platform {

/// Catches faults that end the process. Each system implements these. The handler of a fault may
/// neither allocate nor wait for a lock; none of these does.

/// The system's description of a fault.
struct FaultRecord {
    std::uint32_t code = 0;     ///< see CrashHandler::Code2Str; 0 if the kind has no name
    int flags = 0;              ///< the system's own name of the kind
    int error = 0;              ///< the system's error number at the fault
    std::uint32_t thread = 0;   ///< the number that the system's tools show
    std::uint64_t address = 0;  ///< of the instruction
    void* context = nullptr;    ///< for StackWalker
};

using FaultHandler = void (*)(FaultRecord& fault);

/// Calls `handler` for the first fatal fault of this process from now on, on the thread that
/// failed, and on its FaultStack if it has one. Other threads that fail meanwhile wait for
/// EndByFault, at most five seconds. A process that was forked from this one ends by its faults as
/// if nothing were caught.
void CatchFaults(FaultHandler handler) noexcept;

/// Runs `work` in the handler of a fault and abandons it if it faults or exceeds the time limit.
/// Returns false if it was abandoned; what it has done up to then remains.
/// Requires: objects that `work` makes on the stack don't need their destructors.
bool DoGuarded(void (*work)(void* argument), void* argument, int milliseconds) noexcept;

/// Calls the handlers that caught such faults before CatchFaults, then ends the process as the
/// fault would have ended it. Call it in the handler.
[[noreturn]] void EndByFault(const FaultRecord& fault) noexcept;

/// Writes a text to standard error without buffering.
void WriteToStandardError(const char* text) noexcept;

}  // namespace zel::platform
