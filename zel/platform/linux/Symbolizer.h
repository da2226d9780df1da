#pragma once

#include "zel/platform/StackTrace.h"

namespace zel::platform {

// Looks up functions and lines. It has two bodies, and the build takes the one that it can: by
// GCC's libbacktrace with lines and inlined functions, or by the dynamic loader with exported names
// alone.
class Symbolizer {
public:
    static const char* GetName() noexcept;

    // False if the service can't be had.
    static bool Prepare() noexcept;

    // Tells `frame` with its names, and ahead of it the functions that were inlined there.
    static void Tell(const StackFrame& frame, StackTraceSink& sink);

    // The same at the end of a crash, as WalkStack says.
    static void TellOfCrash(const StackFrame& frame, StackTraceSink& sink);
};

}  // namespace zel::platform
