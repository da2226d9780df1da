#pragma once

#include "zel/core/Export.h"

namespace zel::platform {

/// A separate stack on which a thread's fatal faults are handled, so that an overflow of its own
/// stack can be reported. Each system implements these. They don't throw; if memory is missing, the
/// thread has no such stack.

/// Gives the calling thread a fault stack for the lifetime of the object.
/// Requires: the thread that constructs the object destroys it.
class FaultStack {
public:
    FaultStack() noexcept;
    ~FaultStack();
    FaultStack(const FaultStack&) = delete;
    FaultStack& operator=(const FaultStack&) = delete;

private:
    void* m_memory = nullptr;
};

/// Gives the calling thread a fault stack until the thread ends, unless it has one. The main thread
/// keeps it after the end of `main`, for the destructors of static objects.
ZEL_CORE_API void InstallFaultStack() noexcept;

}  // namespace zel::platform
