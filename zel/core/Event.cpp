#include "zel/core/Event.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zel {

// Defined here too, as a DLL exports only what it defines outside a class.
constexpr int Event::ManualReset;
constexpr int Event::AutomaticReset;

namespace {

// All events share one mutex and one list of waiting threads: WaitMultiple must check and clear
// several events atomically, and events are set far less often than locks are taken.
struct Waiter {
    std::span<Event* const> events;
    std::condition_variable wake;
    Waiter* next = nullptr;
};

struct WaitState {
    std::mutex mutex;
    Waiter* waiters = nullptr;
};

// Never destroyed, as static objects may use events until the process ends.
WaitState& State() {
    static WaitState* const state = new WaitState;
    return *state;
}

class WaiterRegistration {
public:
    explicit WaiterRegistration(Waiter& waiter) : m_waiter(waiter) {
        waiter.next = State().waiters;
        State().waiters = &waiter;
    }

    ~WaiterRegistration() {
        Waiter** link = &State().waiters;
        while (*link != &m_waiter) {
            link = &(*link)->next;
        }
        *link = m_waiter.next;
    }

    WaiterRegistration(const WaiterRegistration&) = delete;
    WaiterRegistration& operator=(const WaiterRegistration&) = delete;

private:
    Waiter& m_waiter;
};

using Clock = std::chrono::steady_clock;

// The end of a wait without limit.
constexpr Clock::time_point NEVER = Clock::time_point::max();

Clock::time_point EndOfWait(int milliseconds) {
    return milliseconds < 0 ? NEVER : Clock::now() + std::chrono::milliseconds(milliseconds);
}

Clock::time_point EndOfWait(double time) {
    constexpr double longest = 9e9;  // seconds that the clock can hold
    const std::chrono::duration<double> sinceStart(std::max(time, 0.0));
    return time < longest ? Clock::time_point(std::chrono::ceil<Clock::duration>(sinceStart))
                          : NEVER;
}

std::vector<Event*> GetPlain(const std::vector<RCPtr<Event>>& events) {
    std::vector<Event*> plain;
    plain.reserve(events.size());
    for (const RCPtr<Event>& event : events) {
        plain.push_back(event.Get());
    }
    return plain;
}

void WakeWaitersFor(const Event* event) {
    for (Waiter* waiter = State().waiters; waiter != nullptr; waiter = waiter->next) {
        const std::span<Event* const> events = waiter->events;
        if (std::find(events.begin(), events.end(), event) != events.end()) {
            waiter->wake.notify_one();
        }
    }
}

}  // namespace

Event::Event(int type, bool signalled) : m_type(type), m_signalled(signalled) {}

Event::~Event() = default;

void Event::Set(bool signalled) {
    const std::lock_guard lock(State().mutex);
    m_signalled = signalled;
    if (signalled) {
        WakeWaitersFor(this);
    }
}

bool Event::IsSet() const {
    const std::lock_guard lock(State().mutex);
    return m_signalled;
}

bool Event::Wait(int milliseconds) {
    Event* const self = this;
    return WaitUntil({&self, 1}, false, EndOfWait(milliseconds)) == 0;
}

int Event::WaitMultiple(const std::vector<RCPtr<Event>>& events, bool all, int milliseconds) {
    return events.empty() ? -1 : WaitUntil(GetPlain(events), all, EndOfWait(milliseconds));
}

int Event::WaitMultipleUntil(const std::vector<RCPtr<Event>>& events, bool all, double time) {
    return events.empty() ? -1 : WaitUntil(GetPlain(events), all, EndOfWait(time));
}

int Event::WaitUntil(std::span<Event* const> events, bool all, Clock::time_point end) {
    std::unique_lock lock(State().mutex);
    Waiter waiter{events, {}, nullptr};
    const WaiterRegistration registration(waiter);
    for (;;) {
        const int seen = Take(events, all);
        if (seen >= 0) {
            return seen;
        }
        if (end == NEVER) {
            waiter.wake.wait(lock);
        } else if (Clock::now() >= end ||
                   waiter.wake.wait_until(lock, end) == std::cv_status::timeout) {
            return Take(events, all);
        }
    }
}

int Event::Take(std::span<Event* const> events, bool all) {
    const auto isSet = [](const Event* event) { return event->m_signalled; };
    if (all) {
        if (!std::all_of(events.begin(), events.end(), isSet)) {
            return -1;
        }
        for (Event* event : events) {
            event->ClearIfAutomatic();
        }
        return 0;
    }
    const auto first = std::find_if(events.begin(), events.end(), isSet);
    if (first == events.end()) {
        return -1;
    }
    (*first)->ClearIfAutomatic();
    return static_cast<int>(first - events.begin());
}

void Event::ClearIfAutomatic() noexcept {
    if (m_type == AutomaticReset) {
        m_signalled = false;
    }
}

}  // namespace zel
