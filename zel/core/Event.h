#pragma once

#include "zel/core/RCPtr.h"

#include <span>
#include <vector>

namespace zel {

// A flag that threads wait for. Times are milliseconds on the monotonic clock; -1 is without limit.
//
//     RCPtr<Event> done(new Event(Event::ManualReset, false));
//     done->Set(true);     // on one thread
//     done->Wait(-1);      // on another
//
// Any thread may call anything at any time.
class ZEL_CORE_API Event : public RCObject {
public:
    // A manual event stays signalled until it is cleared. An automatic one is cleared by the wait
    // that sees it: one signal lets one waiter go.
    static constexpr int ManualReset = 0;
    static constexpr int AutomaticReset = 1;

    // `type` is one of the two above.
    explicit Event(int type, bool signalled = false);
    ~Event() override;

    // Signals or clears the event.
    virtual void Set(bool signalled);

    // Tells the state and never clears it.
    bool IsSet() const;

    // True if the event was signalled within the time.
    bool Wait(int milliseconds);

    // Waits for any of `events`, none of them null, and gives the index of the one seen, the lowest
    // if several are set. With `all` it waits until all are set at one moment and gives 0; a wait
    // for all clears nothing before that moment. -1 when the time ran out, and for an empty list.
    static int WaitMultiple(const std::vector<RCPtr<Event>>& events, bool all, int milliseconds);

private:
    static int WaitFor(std::span<Event* const> events, bool all, int milliseconds);
    static int Take(std::span<Event* const> events, bool all);
    void ClearIfAutomatic() noexcept;

    const int m_type;
    bool m_signalled;
};

}  // namespace zel
