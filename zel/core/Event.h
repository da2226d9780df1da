#pragma once

#include "zel/core/RCPtr.h"

#include <chrono>
#include <span>
#include <vector>

namespace zel {

/// A flag that threads can wait for.
///
///     RCPtr<Event> done(new Event(Event::ManualReset, false));
///     done->Set(true);     // on one thread
///     done->Wait(-1);      // on another
///
/// Times are in milliseconds on the monotonic clock; -1 waits without a limit. Thread-safe.
///
/// Guide: docs/core.md
class ZEL_CORE_API Event : public RCObject {
public:
    /// Event type: the event stays signalled until `Set(false)`.
    static constexpr int ManualReset = 0;

    /// Event type: a wait that sees the event signalled clears it, so that each signal releases one
    /// waiting thread.
    static constexpr int AutomaticReset = 1;

    /// Makes an event of one of the two types.
    explicit Event(int type, bool signalled = false);
    ~Event() override;

    /// Signals or clears the event.
    virtual void Set(bool signalled);

    /// Returns true if the event is signalled. Never clears it.
    bool IsSet() const;

    /// Blocks until the event is signalled. Returns false if the time expired first.
    bool Wait(int milliseconds);

    /// Blocks until one of `events` is signalled, or all of them at the same moment if `all` is
    /// true. Requires: no element is null.
    ///
    /// | Case | Result | Automatic events cleared |
    /// |---|---|---|
    /// | any | the lowest index that is signalled | that one |
    /// | `all` | 0 | all |
    /// | time expired, or `events` is empty | -1 | none |
    static int WaitMultiple(const std::vector<RCPtr<Event>>& events, bool all, int milliseconds);

    /// Blocks like `WaitMultiple`, but until a moment on the clock of `Timer::GetTime`, as exactly
    /// as the system can. Infinity sets no limit; a moment in the past doesn't block.
    static int WaitMultipleUntil(const std::vector<RCPtr<Event>>& events, bool all, double time);

private:
    using Clock = std::chrono::steady_clock;

    static int WaitUntil(std::span<Event* const> events, bool all, Clock::time_point end);
    static int Take(std::span<Event* const> events, bool all);
    void ClearIfAutomatic() noexcept;

    const int m_type;
    bool m_signalled;
};

}  // namespace zel
