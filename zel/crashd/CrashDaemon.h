#pragma once

#include "zel/crashd/CrashMessage.h"
#include "zel/crashd/MemFuncBind.h"
#include "zel/foundation/Export.h"

#include <cstddef>
#include <functional>
#include <iosfwd>

namespace zel {

// Takes the record of a crash. The result isn't used.
using CrashCallback = RCPtr<MemFuncBindBase<ZelVoidT, const zel_crash_msg_s*>>;

// What a crash daemon does for all its life: waits for a record at the channel of that name, or at
// any path that can be read; hands it to `callback` or, if that is null, prints the report on
// standard error; and ends the process. The exit code is 0, but the system's error number if the
// channel can't be opened. While it waits it doesn't heed the signals that ask it politely to end.
// What `callback` throws ends the process too, by std::terminate.
[[noreturn]] ZEL_ADVANCED_API void crashd_main(const char* pipeName,
                                               CrashCallback callback) noexcept;

// The steps of that, each by itself.

// Reads a record in as many pieces as it comes in. `read` takes a buffer and how much is missing,
// and gives how much it has read, 0 for nothing more. False if that comes too early.
ZEL_ADVANCED_API bool ReadCrashMessage(
    const std::function<std::size_t(void* buffer, std::size_t size)>& read,
    zel_crash_msg_s& record);

// Makes sure that each text of the record ends, at its last byte at the latest. A record that isn't
// marked as one is told to `out`, and becomes that of a fault of the daemon itself.
ZEL_ADVANCED_API void CheckCrashMessage(zel_crash_msg_s& record, std::ostream& out);

// Prints the report of a record that has been checked.
ZEL_ADVANCED_API void PrintCrashReport(const zel_crash_msg_s& record, std::ostream& out);

}  // namespace zel
