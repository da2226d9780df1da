#pragma once

#include "zel/crashd/CrashDaemon.h"
#include "zel/crashd/CrashMessage.h"
#include "zel/crashd/MemFuncBind.h"
#include "zel/crashd/ZelStackWalker.h"
#include "zel/foundation/Export.h"

#include <string>
#include <type_traits>

namespace zel {

/// Reports a crash of the program from a second process, the crash daemon, which outlives it. The
/// program calls `Initialize` once, as early in `main` as possible:
///
///     int main(int argc, char** argv) {
///         CrashHandler::Initialize(argc, argv, nullptr);
///         ...
///
/// The call starts the program a second time. That helper process runs `main` up to the same call,
/// which never returns there: the process is the daemon, and waits. When the program dies by a
/// fault, it sends one record to the daemon, which prints a report on standard error or passes the
/// record to `callback`; then the program ends by the signal of the fault, as if nothing had caught
/// it, on Windows with the last error or the exception's code as its exit code. If the program ends
/// in any other way, the daemon ends too and prints nothing. Everything that a program does before
/// the call happens in both processes, so keep that to a minimum.
///
/// Handlers of faults that were installed before `Initialize` run first. A fault that they recover
/// from is no crash. After `fork` the child has no daemon until it calls `Initialize` itself; until
/// then its faults have the effect that they had before the parent's call.
///
/// All failures but `std::bad_alloc` are reported by a log line and a false result; a program may
/// run without crash handling. Crash handling can't be removed again.
///
/// Guide: docs/crash.md
class ZEL_ADVANCED_API CrashHandler {
public:
    /// Starts the daemon and catches faults. Returns true if crash handling is running, or was set
    /// up before in this process. `argc` and `argv` are those of `main`; the daemon's variable is
    /// named after the file in `argv[0]`. `callback` is called in the daemon only and may be null.
    /// Blocks until the daemon listens, at most 30 seconds.
    ///
    /// Not thread-safe.
    ///@{
    static bool Initialize(int argc, char** argv, CrashCallback callback);
    template <class T>
    requires(std::is_class_v<T> && !std::is_convertible_v<T, CrashCallback>) static bool Initialize(
        int /*argc*/, char** /*argv*/, const T& /*callback*/) {
        static_assert(sizeof(T) == 0,
                      "Initialize needs null or a CrashCallback, which BindCallback makes of a "
                      "callable that takes const zel_crash_msg_s*");
        return false;
    }
    ///@}

    /// Returns a callback for `Initialize` that writes each report to a file of its own, named
    /// `prefix`, the time of the crash in UTC and the program's process number, as in
    /// `/var/log/pump-20261123T022852Z-29667.txt`. Only its owner may read and write it. No
    /// existing file is overwritten. The file is stored when the daemon ends. If it can't be
    /// written, the report is printed on standard error.
    ///
    /// A relative prefix is relative to the program's directory at `Initialize`.
    static CrashCallback ReportToFile(const std::string& prefix);

    /// Makes overflows of the calling thread's stack reportable until the thread ends; its other
    /// faults are reported without this call too, if a signal handler still fits on its stack.
    /// Class `Thread` and `Initialize` have done it already for their threads. A second call has no
    /// effect.
    static void ProtectThisThread() noexcept;

    /// Returns the name of an exception code, "Unknown Exception" for an unlisted one. `flags` is
    /// ignored.
    static const char* Code2Str(unsigned code, unsigned flags) noexcept;
};

/// Reports the fault and ends the process by it; returns 0 for null. The system calls it on the
/// thread that failed. It allocates nothing, takes no lock and logs nothing. On Windows it has the
/// form that `SetUnhandledExceptionFilter` takes, and a program's own filter may call it.
ZEL_ADVANCED_API long ZEL_SYSTEM_CALL
CrashHandlerCustomExceptionFilter(ExceptionPointers* pointers);

}  // namespace zel
