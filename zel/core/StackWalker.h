#pragma once

#include "zel/core/Export.h"

#include <cstdint>

namespace zel {

/// Walks the stack of the calling thread and reports each function on it, innermost first. Derived
/// classes override the callbacks that they need; the simplest one prints lines:
///
///     class StackPrinter : public StackWalker {
///         void OnOutput(const char* text) override { std::cerr << text << '\n'; }
///     };
///     StackPrinter().ShowCallstack();
///
/// prints one line per function, such as `zel::Timer::Start() (Timer.h:23) server+0x1c2f`, with
/// `???` for what is unknown. Line numbers need debug information, names need a symbol table. On
/// Windows names lack parameters and often namespaces, and docs/windows.md describes which are
/// found.
///
/// The walker can be used in a crash handler, from the machine context of the fault. On Linux such
/// a walk allocates no memory and takes no lock but the loader's, which the crashed thread may
/// hold; a walker made with `OfCrash` doesn't take that one either. On Windows the system's symbol
/// service allocates, so another thread should walk. Names that can't be demangled without memory
/// stay empty. The walk needs at most 64 KiB of stack, except for names of hundreds of characters.
/// All addresses are collected before the first is looked up.
///
/// Thread-compatible: different objects may be used concurrently. Overridden callbacks must not let
/// exceptions escape.
///
/// Guide: docs/core.md
class ZEL_CORE_API StackWalker {
public:
    /// The position of an entry: the innermost function, a caller, or the empty entry at the end.
    enum CallstackEntryType { FirstEntry = 0, NextEntry = 1, LastEntry = 2 };

    /// A function on the stack. Texts are empty if unknown and truncated if too long. An inlined
    /// function has an entry of its own on Linux, with the address of the function that contains
    /// it. The address lies within the instruction that was running or that made the call.
    struct CallstackEntry {
        std::uint64_t frameAddress = 0;        ///< Address in memory.
        std::uint64_t moduleOffset = 0;        ///< Address relative to the module's file.
        int lineNumber = 0;                    ///< From 1; 0 if unknown.
        char symbolName[1024] = {};            ///< The linker's name, or that of the source.
        char undecoratedName[1024] = {};       ///< The demangled name without parameters.
        char fullyUndecoratedName[1024] = {};  ///< The demangled name with parameters.
        char sourceFile[1024] = {};            ///< With directories, as recorded by the compiler.
        char moduleName[256] = {};             ///< File name without directories.
    };

    /// Runs `work(argument)` and returns true, or abandons it and returns false.
    using Attempt = bool (*)(void (*work)(void* argument), void* argument);

    /// Walks stacks of the calling process.
    StackWalker() = default;

    /// Walks stacks of the process with this number, which must be the calling one. `process` is
    /// that process's handle on systems that have handles; it remains the caller's.
    StackWalker(unsigned long processId, void* process);

    virtual ~StackWalker();
    StackWalker(const StackWalker&) = delete;
    StackWalker& operator=(const StackWalker&) = delete;

    /// Does in advance the work of a walk that can be done in advance. May be called repeatedly,
    /// also while crashing. Returns false if the process can't be walked.
    bool LoadModules();

    /// Calls `OnCallstackEntry` for each function, starting with the caller of this function, and
    /// then once with `LastEntry` and an empty entry. Returns false if no function was found.
    ///
    /// With a machine context (the system's own record: on Linux the `const ucontext_t*` passed to
    /// a signal handler, on Windows a `const CONTEXT*` of this thread or one that is stopped there)
    /// the walk starts at that instruction instead. If no code is known there, as
    /// after a call through an invalid pointer, an entry without a name is reported, followed by
    /// the caller.
    ///
    /// Of more than 1024 frames the first 992 and the last 32 are reported; `OnOutput` reports the
    /// gap between them. `thread` is the calling thread's handle on systems that have handles; the
    /// last two arguments are ignored.
    bool ShowCallstack(void* thread = nullptr, const void* context = nullptr, void* = nullptr,
                       void* = nullptr);

protected:
    /// Selects the constructor for the last walk of a crashing process.
    struct OfCrash {
        Attempt attempt = nullptr;  ///< Runs each step of the walk; null to run it directly.
    };

    /// Makes a walker for a crashing process, for use by one thread. `LoadModules` then reports no
    /// modules and no service, and modules loaded after it are found as well. An attempt collects
    /// all addresses, and others look up one each. If one is abandoned, the addresses up to there,
    /// or the module and offset of that one, are still reported, and `OnDbgHelpErr` is called.
    StackWalker(unsigned long processId, void* process, OfCrash);

    /// Ends the walk after the current entry.
    void StopWalk() noexcept { m_isStopped = true; }

    /// Called by `LoadModules` with the name of the service that looks up symbols. The default does
    /// nothing.
    virtual void OnSymInit(const char* service);

    /// Called by `LoadModules` for each module of the process, the program first, with the
    /// difference between its load address and the addresses in its file, on Windows with its load
    /// address. The default does nothing.
    /// Requires: it doesn't load or unload modules.
    virtual void OnLoadModule(const char* file, unsigned long long base);

    /// Called for each entry. The default formats each entry but the last as a line for `OnOutput`.
    virtual void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry);

    /// Called when a service that looks up symbols fails, with the system's error number; a
    /// function without a name is not a failure. The default formats a line for `OnOutput`.
    virtual void OnDbgHelpErr(const char* function, unsigned long error,
                              unsigned long long address);

    /// Called with each line, without a line feed. The default does nothing.
    virtual void OnOutput(const char* text);

private:
    class Reporter;

    unsigned long m_processId = 0;
    bool m_isOfCrash = false;
    bool m_isReady = false;
    bool m_isStopped = false;
    Attempt m_attempt = nullptr;
};

}  // namespace zel
