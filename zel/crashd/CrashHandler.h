#pragma once

#include "zel/crashd/CrashDaemon.h"
#include "zel/crashd/CrashMessage.h"
#include "zel/crashd/MemFuncBind.h"
#include "zel/crashd/ZelStackWalker.h"
#include "zel/foundation/Export.h"

namespace zel {

namespace platform {
struct FaultRecord;
}

// What the system tells of a fault.
using ExceptionPointers = platform::FaultRecord;

// Reports a crash of the program by a second process, which outlives it. The program calls
// Initialize once, as early in main as it can:
//
//     int main(int argc, char** argv) {
//         CrashHandler::Initialize(argc, argv, nullptr);
//         ...
//
// The call starts the program a second time. That copy runs main up to the same call, which never
// returns there: the copy is the daemon, and waits. When the program dies by a fault of its own, it
// sends one record to the daemon, which prints a report on standard error or hands the record to
// `callback`; then the program ends by the very fault, as if nothing had caught it. When the
// program ends in any other way, the daemon goes with it, without a word. What a program does ahead
// of the call happens in both, so let that be little.
//
// All failures are told by a log line and a false result, but for std::bad_alloc; a program may go
// on without crash handling. There is no way back.
class ZEL_ADVANCED_API CrashHandler {
public:
    // True if crash handling is running, or was set up already. `argc` and `argv` are those of
    // main; the daemon is named after the file in argv[0]. `callback` is called in the daemon alone
    // and may be null. Waits until the daemon listens, half a minute at the most. For the main
    // thread, before there are others.
    static bool Initialize(int argc, char** argv, CrashCallback callback);

    // Lets the calling thread's stack overflow be reported, until the thread ends; its other
    // faults are reported without this too. Threads of class Thread and the one that calls
    // Initialize have it already. A second call does nothing.
    static void ProtectThisThread() noexcept;

    // The name of an exception code, "Unknown Exception" for one without. `flags` has no meaning.
    static const char* Code2Str(unsigned code, unsigned flags) noexcept;
};

// Reports the fault and ends the process by it; gives 0 at once for null. It is called by the
// system, on the thread that failed; it allocates nothing, takes no lock and logs nothing.
ZEL_ADVANCED_API long CrashHandlerCustomExceptionFilter(ExceptionPointers* pointers);

}  // namespace zel
