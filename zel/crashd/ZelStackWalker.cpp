#include "zel/crashd/ZelStackWalker.h"

#include "zel/platform/PathName.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace zel {

namespace {

constexpr char LINE_END[] = {' ', '\n'};

const char* OrUnknown(const char* text) {
    return text[0] == '\0' ? "???" : text;
}

const char* ChooseName(const StackWalker::CallstackEntry& entry) {
    if (entry.fullyUndecoratedName[0] != '\0') {
        return entry.fullyUndecoratedName;
    }
    return OrUnknown(entry.undecoratedName[0] != '\0' ? entry.undecoratedName : entry.symbolName);
}

unsigned LowBits(std::uint64_t address) {
    return static_cast<unsigned>(address & 0xFFFFFFFFU);
}

// The number of bytes in a buffer after snprintf has returned `length`.
template <unsigned Size>
unsigned LengthIn(int length) {
    return std::min(static_cast<unsigned>(length), Size - 1);
}

}  // namespace

ZelStackWalker::ZelStackWalker(unsigned long processId, void* process, unsigned threadId,
                               zel_crash_msg_s* record)
    : ZelStackWalker(processId, process, threadId, record, OfCrash()) {}

ZelStackWalker::ZelStackWalker(unsigned long processId, void* process, unsigned threadId,
                               zel_crash_msg_s* record, OfCrash crash)
    : StackWalker(processId, process, crash), m_threadId(threadId), m_record(record) {}

ZelStackWalker::~ZelStackWalker() = default;

void ZelStackWalker::OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) {
    constexpr unsigned size = sizeof(zel_crash_msg_s::ancillary);
    constexpr unsigned endSize = sizeof(LINE_END);
    if (m_record == nullptr || type == LastEntry || entry.frameAddress == 0) {
        return;
    }
    unsigned length = LengthIn<sizeof(m_line)>(
        std::snprintf(m_line, sizeof(m_line), "%u %s 0x%08X %s (%s:%d)", m_frameCounter++,
                      OrUnknown(entry.moduleName), LowBits(entry.frameAddress), ChooseName(entry),
                      platform::FileOfPath(OrUnknown(entry.sourceFile)), entry.lineNumber));
    unsigned used = m_ancillaryUsed + length + endSize;
    if (used > size) {
        StopWalk();
        if (m_ancillaryUsed + endSize > size - 1) {
            return;
        }
        used = size - 1;
        length = used - endSize - m_ancillaryUsed;
    }
    char* const position = m_record->ancillary + m_ancillaryUsed;
    std::memcpy(position, m_line, length);
    std::memcpy(position + length, LINE_END, endSize);
    m_ancillaryUsed = used;
}

void ZelStackWalker::OnDbgHelpErr(const char* function, unsigned long error,
                                  unsigned long long address) {
    if (m_record == nullptr) {
        return;
    }
    const unsigned length = LengthIn<sizeof(m_errorEntry)>(std::snprintf(
        m_errorEntry, sizeof(m_errorEntry), "0x%08X:%s:%lu", LowBits(address), function, error));
    if (m_assertsUsed + length + 1 > sizeof(m_record->asserts)) {
        return;
    }
    char* const position = m_record->asserts + m_assertsUsed;
    std::memcpy(position, m_errorEntry, length);
    position[length] = ';';
    m_assertsUsed += length + 1;
}

}  // namespace zel
