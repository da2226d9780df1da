#pragma once

#include "zel/core/Export.h"

#include <cstdint>

namespace zel {

// Walks the stack of the calling thread and tells each function on it, the innermost first. A
// derived class takes what it wants to know, at its simplest the lines:
//
//     class StackPrinter : public StackWalker {
//         void OnOutput(const char* text) override { std::cerr << text << '\n'; }
//     };
//     StackPrinter().ShowCallstack();
//
// prints one line a function, "zel::Timer::Start() (Timer.h:23) server+0x1c2f", with "???" for what
// isn't known: without debug data there are no lines, without a symbol table no names.
//
// A crash handler walks from the machine context of the fault. Such a walk allocates nothing and
// waits for no lock but the loader's, which the crashed thread may hold itself; a walker that is
// made OfCrash does without that one too. Where the readable form of a name can't be had without
// memory, it stays empty. The walk fits a stack of 64 KiB, unless it comes to names of hundreds of
// characters. When the stack is so damaged that following it faults, the first frames have been
// told already.
//
// Different objects may be used at once. What overridden operations throw must not leave them.
class ZEL_CORE_API StackWalker {
public:
    // Where an entry stands: the innermost function, one behind it, or the empty entry at the end.
    enum CallstackEntryType { FirstEntry = 0, NextEntry = 1, LastEntry = 2 };

    // One function on the stack. Texts are empty where nothing is known, and cut where they are too
    // long. Functions that were inlined have entries of their own, with the address of the one that
    // they are a part of. The address lies in the instruction that was running or has made the
    // call.
    struct CallstackEntry {
        std::uint64_t frameAddress = 0;        // in memory
        std::uint64_t moduleOffset = 0;        // the address as the module's file counts
        int lineNumber = 0;                    // from 1; 0 if unknown
        char symbolName[1024] = {};            // as the linker knows it
        char undecoratedName[1024] = {};       // the readable name without the parameters
        char fullyUndecoratedName[1024] = {};  // the same with them
        char sourceFile[1024] = {};            // with the directories that the compiler noted
        char moduleName[256] = {};             // the file without directories
    };

    // For the calling process.
    StackWalker() = default;

    // For the process of that number, which must be the calling one. `process` is a handle for
    // systems that have such; it stays the caller's.
    StackWalker(unsigned long processId, void* process);

    virtual ~StackWalker();
    StackWalker(const StackWalker&) = delete;
    StackWalker& operator=(const StackWalker&) = delete;

    // Makes ready what can be ahead of a walk; it may be called again, and on the way out of a
    // crash too. False if the process can't be walked.
    bool LoadModules();

    // Calls OnCallstackEntry for each function, beginning with the caller of this one, then once
    // more with LastEntry and an empty entry. With a machine context (the system's own record: on
    // Linux the `const ucontext_t*` that a signal handler gets as its last argument) the walk
    // begins at that instruction instead; when nothing is known of code there, as after a call of a
    // wild pointer, a nameless entry is followed by that of the caller. Of more than 64 frames the
    // first 32 and the last 32 are told, and OnOutput says so in between. `thread` is the calling
    // thread's handle on systems that have such; the last two arguments have no meaning. False if
    // there was nothing to tell.
    bool ShowCallstack(void* thread = nullptr, const void* context = nullptr, void* = nullptr,
                       void* = nullptr);

protected:
    // For the last walk of a process that crashes, on one thread: LoadModules tells no modules and
    // no service, and what was loaded later is found as well.
    struct OfCrash {};
    StackWalker(unsigned long processId, void* process, OfCrash);

    // LoadModules tells the service that looks up names. Does nothing here.
    virtual void OnSymInit(const char* service);

    // LoadModules tells each module of the process, the program first, and how far it lies from
    // where its file says. It must not load or unload modules. Does nothing here.
    virtual void OnLoadModule(const char* file, unsigned long long base);

    // Here it makes a line of each entry but the last for OnOutput.
    virtual void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry);

    // A service that looks up names failed, with the system's error number; a function without a
    // name is no failure. Here it makes a line for OnOutput.
    virtual void OnDbgHelpErr(const char* function, unsigned long error,
                              unsigned long long address);

    // Takes a line, without a line feed. Does nothing here.
    virtual void OnOutput(const char* text);

private:
    class Reporter;

    unsigned long m_processId = 0;
    bool m_isOfCrash = false;
    bool m_isReady = false;
};

}  // namespace zel
