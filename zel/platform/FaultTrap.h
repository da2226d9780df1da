#pragma once

#include <cstdint>

namespace zel::platform {

// Catching what ends a process by a fault of its own. A new system must offer these. What runs in
// the handler of a fault may neither allocate nor wait for a lock, and none of these does.

struct FaultRecord {
    std::uint32_t code = 0;  // the name of the kind, as CrashHandler::Code2Str knows them; 0: none
    int flags = 0;           // what the system itself calls the kind
    int error = 0;           // the system's error number that was in force
    std::uint32_t thread = 0;   // the number that the system's tools show
    std::uint64_t address = 0;  // of the instruction
    void* context = nullptr;    // what StackWalker takes
};

using FaultHandler = void (*)(FaultRecord& fault);

// From now on `handler` is called for the first fatal fault of this process, on the thread that
// failed, and on its FaultStack if it has one. Other threads that fail meanwhile wait until it has
// come to EndByFault, for five seconds at the most. A process that was forked off this one ends by
// its faults as if nothing were caught.
void CatchFaults(FaultHandler handler) noexcept;

// In the handler: does the work, and gives up when that fails in turn or takes too long. False if
// so; what the work has done up to then stays. Objects that the work makes on the stack must not
// need their destructors.
bool DoGuarded(void (*work)(void* argument), void* argument, int milliseconds) noexcept;

// In the handler: calls who caught such faults before CatchFaults, then ends the process as the
// fault would have ended it.
[[noreturn]] void EndByFault(const FaultRecord& fault) noexcept;

// Puts a text on standard error with nothing between it and the system.
void WriteToStandardError(const char* text) noexcept;

}  // namespace zel::platform
