#pragma once

#include "zel/crashd/CrashMessage.h"
#include "zel/crashd/MemFuncBind.h"
#include "zel/foundation/Export.h"

#include <cstddef>
#include <functional>
#include <iosfwd>

/// @file
/// Guide: docs/crash.md

namespace zel {

/// Receives the record of a crash. The result is ignored.
using CrashCallback = RCPtr<MemFuncBindBase<ZelVoidT, const zel_crash_msg_s*>>;

/// Runs the crash daemon: waits for one record on the channel `pipeName`, passes it to `callback`
/// or, if that is null, prints the report on standard error, and ends the process.
///
/// `pipeName` may also be the path of a regular file, or of a FIFO, which must get a writer within
/// five seconds. The exit code is 0, or the system's error number if the channel can't be opened.
/// Termination signals are ignored until the end. Exit handlers and static destructors are
/// abandoned after a second. An exception of `callback` ends the process by `std::terminate`.
[[noreturn]] ZEL_ADVANCED_API void crashd_main(const char* pipeName,
                                               CrashCallback callback) noexcept;

/// Reads one record in as many pieces as it arrives in. `read` gets a buffer and the number of
/// missing bytes, and returns the number of bytes read, 0 at the end. Returns false if the end
/// comes before the record is complete.
ZEL_ADVANCED_API bool ReadCrashMessage(
    const std::function<std::size_t(void* buffer, std::size_t size)>& read,
    zel_crash_msg_s& record);

/// Terminates each text of the record, at its last byte at the latest. A record with a wrong magic
/// number is reported on `out` and replaced by a record of the daemon's own fault, with the
/// system's error number `error`.
ZEL_ADVANCED_API void CheckCrashMessage(zel_crash_msg_s& record, int error, std::ostream& out);

/// Prints the report of a record that has passed `CheckCrashMessage`.
ZEL_ADVANCED_API void PrintCrashReport(const zel_crash_msg_s& record, std::ostream& out);

}  // namespace zel
