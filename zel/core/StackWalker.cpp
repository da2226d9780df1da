#include "zel/core/StackWalker.h"

#include "zel/platform/StackTrace.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <string_view>

namespace zel {

namespace {

template <std::size_t Size>
void CopyText(char (&target)[Size], const char* text) {
    const std::string_view source(text == nullptr ? "" : text);
    target[source.copy(target, Size - 1)] = '\0';
}

// Returns the index of the opening parenthesis of the parameter list, or the size of the name if
// there is none.
std::size_t FindParameters(std::string_view name) {
    int depth = 0;
    for (std::size_t i = name.size(); i > 0; --i) {
        depth += name[i - 1] == ')' ? 1 : 0;
        if (name[i - 1] == '(' && --depth == 0) {
            return i - 1;
        }
    }
    return name.size();
}

const char* OrUnknown(const char* text) {
    return text[0] == '\0' ? "???" : text;
}

// Returns false if the attempt was abandoned.
template <class Work>
bool Try(StackWalker::Attempt attempt, Work work) {
    if (attempt == nullptr) {
        work();
        return true;
    }
    return attempt([](void* argument) { (*static_cast<Work*>(argument))(); }, &work);
}

// The one walk of a crash.
constinit platform::StackAddresses s_crashStack = {};

}  // namespace

// Converts the platform's frames to entries.
class StackWalker::Reporter : public platform::StackTraceSink {
public:
    Reporter(StackWalker& walker, bool mayAllocate)
        : m_walker(walker), m_mayAllocate(mayAllocate) {}

    void OnModule(const char* file, std::uint64_t base) override {
        m_walker.OnLoadModule(file, base);
    }

    void OnFrame(const platform::StackFrame& frame) override {
        m_entry.frameAddress = frame.address;
        m_entry.moduleOffset = frame.moduleOffset;
        m_entry.lineNumber = frame.line;
        CopyText(m_entry.symbolName, frame.function);
        if (frame.isUnread && frame.module != nullptr) {
            std::snprintf(m_entry.symbolName, sizeof(m_entry.symbolName), "+0x%" PRIx64,
                          frame.moduleOffset);
        }
        CopyText(m_entry.sourceFile, frame.file);
        CopyText(m_entry.moduleName, frame.module);
        Undecorate(frame.function);
        m_walker.OnCallstackEntry(m_type, m_entry);
        m_type = NextEntry;
    }

    void ReportGap(std::size_t count) {
        char line[64];
        std::snprintf(line, sizeof(line), "... %zu more ...", count);
        m_walker.OnOutput(line);
    }

    void OnFailure(const char* service, unsigned long error, std::uint64_t address) override {
        m_walker.OnDbgHelpErr(service, error, address);
    }

    bool Walk(const void* context, const void* returnAddress, platform::StackAddresses& stack) {
        const Attempt attempt = m_walker.m_attempt;
        const bool isOfCrash = m_walker.m_isOfCrash;
        Try(attempt, [&] { platform::CollectStack(context, returnAddress, isOfCrash, stack); });
        m_walker.m_isStopped = false;
        for (std::size_t i = 0; i < stack.GetCount() && !m_walker.m_isStopped; ++i) {
            if (i == platform::StackAddresses::HEAD_SIZE && stack.GetGap() != 0) {
                ReportGap(stack.GetGap());
            }
            const std::uint64_t address = stack.Get(i);
            if (!Try(attempt, [&] { platform::ReportFrame(address, isOfCrash, *this); })) {
                OnFailure(platform::StackTraceService(), ECANCELED, address);
                platform::ReportUnreadFrame(address, *this);
            }
        }
        m_entry = {};
        m_walker.OnCallstackEntry(LastEntry, m_entry);
        return stack.GetCount() != 0;
    }

    // A function of its own, so that the walk of a crash needs no stack for the addresses.
    [[gnu::noinline]] bool WalkOnStack(const void* context, const void* returnAddress) {
        platform::StackAddresses stack;
        return Walk(context, returnAddress, stack);
    }

private:
    void Undecorate(const char* function) {
        char(&full)[1024] = m_entry.fullyUndecoratedName;
        full[0] = m_entry.undecoratedName[0] = '\0';
        if (function != nullptr &&
            platform::UndecorateName(function, m_mayAllocate, full, sizeof(full))) {
            CopyText(m_entry.undecoratedName, full);
            m_entry.undecoratedName[FindParameters(full)] = '\0';
        }
    }

    StackWalker& m_walker;
    const bool m_mayAllocate;
    CallstackEntryType m_type = FirstEntry;
    CallstackEntry m_entry;
};

StackWalker::StackWalker(unsigned long processId, void*) : m_processId(processId) {}

StackWalker::StackWalker(unsigned long processId, void*, OfCrash crash)
    : m_processId(processId), m_isOfCrash(true), m_attempt(crash.attempt) {}

StackWalker::~StackWalker() = default;

bool StackWalker::LoadModules() {
    if (!m_isReady && m_isOfCrash) {
        m_isReady = platform::PrepareCrashTrace(m_processId);
    }
    if (!m_isReady && !m_isOfCrash) {
        OnSymInit(platform::StackTraceService());
        Reporter reporter(*this, false);
        m_isReady = platform::PrepareStackTrace(m_processId, reporter);
    }
    return m_isReady;
}

bool StackWalker::ShowCallstack(void*, const void* context, void*, void*) {
    if (!LoadModules()) {
        return false;
    }
    const void* const returnAddress = __builtin_return_address(0);
    Reporter reporter(*this, context == nullptr);
    if (m_isOfCrash) {
        s_crashStack.Clear();
        return reporter.Walk(context, returnAddress, s_crashStack);
    }
    return reporter.WalkOnStack(context, returnAddress);
}

void StackWalker::OnSymInit(const char*) {}

void StackWalker::OnLoadModule(const char*, unsigned long long) {}

void StackWalker::OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) {
    if (type == LastEntry) {
        return;
    }
    const bool isReadable = entry.fullyUndecoratedName[0] != '\0';
    const char* const name = isReadable ? entry.fullyUndecoratedName : entry.symbolName;
    char line[2560];
    std::snprintf(line, sizeof(line), "%s (%s:%d) %s+0x%" PRIx64, OrUnknown(name),
                  OrUnknown(entry.sourceFile), entry.lineNumber, OrUnknown(entry.moduleName),
                  entry.moduleOffset);
    OnOutput(line);
}

void StackWalker::OnDbgHelpErr(const char* function, unsigned long error,
                               unsigned long long address) {
    char line[256];
    std::snprintf(line, sizeof(line), "%s failed with error %lu at 0x%llx", function, error,
                  address);
    OnOutput(line);
}

void StackWalker::OnOutput(const char*) {}

}  // namespace zel
