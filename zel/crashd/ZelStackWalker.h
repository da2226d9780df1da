#pragma once

#include "zel/core/StackWalker.h"
#include "zel/crashd/CrashMessage.h"
#include "zel/foundation/Export.h"

namespace zel {

/// Walks the stack of a crashed thread and writes the functions into the texts of a crash record:
///
///     ZelStackWalker walker(processId, nullptr, threadId, &record);
///     walker.ShowCallstack(nullptr, context, nullptr, nullptr);
///
/// It allocates nothing, takes no lock and reads symbols only of the modules on the stack. One walk
/// of a crash runs in a process at a time.
///
/// Guide: docs/crash.md
class ZEL_ADVANCED_API ZelStackWalker : public StackWalker {
public:
    /// Makes a walker that writes to the record's texts from their start. The first two arguments
    /// are those of `StackWalker`; nothing is written if `record` is null. Requires: the record's
    /// texts are zeroed.
    ZelStackWalker(unsigned long processId, void* process, unsigned threadId,
                   zel_crash_msg_s* record);
    ~ZelStackWalker() override;

    /// Returns the thread that the walker was made for.
    unsigned GetThreadId() const noexcept { return m_threadId; }

    /// Appends `NUMBER MODULE 0xADDRESS SYMBOL (FILE:LINE)`, a blank and a line feed to
    /// `ancillary`, with `???` for unknown parts and at most 1024 bytes of text. The last line that
    /// has any room is truncated; the walk ends with it.
    void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override;

    /// Appends `0xADDRESS:FUNCTION:ERROR;` to `asserts` if all of it fits.
    void OnDbgHelpErr(const char* function, unsigned long error,
                      unsigned long long address) override;

protected:
    /// Makes a walker whose steps are run by `crash.attempt`.
    ZelStackWalker(unsigned long processId, void* process, unsigned threadId,
                   zel_crash_msg_s* record, OfCrash crash);

private:
    // Both with room for the terminating zero.
    char m_line[1024 + 1] = {};
    char m_errorEntry[sizeof(zel_crash_msg_s::asserts) + 1] = {};
    unsigned m_threadId;
    zel_crash_msg_s* m_record;
    // A write that is abandoned between its parts leaves these as they were.
    unsigned m_assertsUsed = 0;
    unsigned m_ancillaryUsed = 0;
    unsigned m_frameCounter = 0;
};

}  // namespace zel
