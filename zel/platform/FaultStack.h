#pragma once

namespace zel::platform {

// A stack on which a thread's fatal faults are handled, so that even the overflow of its own can
// be told. A new system must offer these; none of them throws, and without memory the thread goes
// without.

// Serves the thread that makes it, until the same thread destroys it.
class FaultStack {
public:
    FaultStack() noexcept;
    ~FaultStack();
    FaultStack(const FaultStack&) = delete;
    FaultStack& operator=(const FaultStack&) = delete;

private:
    void* m_memory = nullptr;
};

// Gives the calling thread a stack of that kind until it ends, unless it has one. The main thread
// keeps it past the end of main, for the destructors of static objects.
void KeepFaultStack() noexcept;

}  // namespace zel::platform
