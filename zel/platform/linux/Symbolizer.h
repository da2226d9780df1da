#pragma once

#include "zel/platform/StackTrace.h"

namespace zel::platform {

/// Looks up functions and lines. The build selects one of two implementations: GCC's libbacktrace,
/// with lines and inlined functions, or the dynamic loader, with exported names only.
class Symbolizer {
public:
    static const char* GetName() noexcept;

    /// Returns false if the service is unavailable.
    static bool Prepare() noexcept;

    /// Reports `frame` with its names, after the functions that were inlined there.
    static void Report(const StackFrame& frame, StackTraceSink& sink);

    /// The same in the walk of a crash, see WalkStack.
    static void ReportOfCrash(const StackFrame& frame, StackTraceSink& sink);
};

}  // namespace zel::platform
