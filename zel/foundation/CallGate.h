#pragma once

#include "zel/core/Event.h"
#include "zel/foundation/Export.h"

#include <thread>

namespace zel {

/// Lets calls of a callable through until it is closed. Closing waits for the calls that are
/// running, so that what the callable refers to can be destroyed afterwards. Thread-safe.
///
/// Guide: docs/foundation.md
class ZEL_ADVANCED_API CallGate : public RCObject {
public:
    /// A call of the callable, as a local variable of the function that makes the call.
    class ZEL_ADVANCED_API Call {
    public:
        /// Registers a call. `gate` must outlive this object.
        explicit Call(CallGate& gate) noexcept;
        ~Call();
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

        /// Returns false if the gate was closed before: the call must not be made.
        bool IsAllowed() const noexcept { return m_isAllowed; }

    private:
        friend class CallGate;

        CallGate& m_gate;
        const std::thread::id m_thread = std::this_thread::get_id();
        Call* m_next = nullptr;
        bool m_isAllowed = false;
    };

    /// Makes an open gate.
    CallGate();
    ~CallGate() override;

    /// Refuses further calls and blocks until the calls on other threads have returned. Requires:
    /// called by one thread at a time, which holds no lock that the callable waits for.
    void Close();

private:
    bool HasCallOnAnotherThread() noexcept;

    CriticalSection m_cs;
    bool m_isOpen = true;
    Call* m_calls = nullptr;
    Event m_returned{Event::AutomaticReset};
};

}  // namespace zel
