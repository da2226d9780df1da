#pragma once

#include "zel/core/StackWalker.h"
#include "zel/crashd/CrashMessage.h"
#include "zel/foundation/Export.h"

namespace zel {

// Walks the stack of a crashed thread into the texts of a crash record, as far as they reach:
//
//     ZelStackWalker walker(processId, nullptr, threadId, &record);
//     walker.ShowCallstack(nullptr, context, nullptr, nullptr);
//
// It allocates nothing, takes no lock and looks up only what the walk comes to. One thread of a
// process uses one at a time.
class ZEL_ADVANCED_API ZelStackWalker : public StackWalker {
public:
    // Appends to the record's texts from their beginning; the record is zeroed, or null, and then
    // nothing is kept. The first two arguments are those of StackWalker.
    ZelStackWalker(unsigned long processId, void* process, unsigned threadId,
                   zel_crash_msg_s* record);
    ~ZelStackWalker() override;

    // The thread that the walker was made for.
    unsigned GetThreadId() const noexcept { return m_threadId; }

    // Appends "NUMBER MODULE 0xADDRESS SYMBOL (FILE:LINE)", a blank and a line feed to `ancillary`,
    // with "???" for what isn't known and 1024 bytes of text at the most. The last line that has
    // any room is cut, later ones are dropped.
    void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override;

    // Appends "0xADDRESS:FUNCTION:ERROR;" to `asserts`, if it fits there whole.
    void OnDbgHelpErr(const char* function, unsigned long error,
                      unsigned long long address) override;

private:
    // Texts of these sizes, with their ends.
    char m_line[1024 + 1] = {};
    char m_errorEntry[sizeof(zel_crash_msg_s::asserts) + 1] = {};
    unsigned m_threadId;
    zel_crash_msg_s* m_record;
    char* m_assertsPosition;
    unsigned m_assertsUsed = 0;
    char* m_ancillaryPosition;
    unsigned m_ancillaryUsed = 0;
    unsigned m_frameCounter = 0;
};

}  // namespace zel
