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
    return WaitFor({&self, 1}, false, milliseconds) == 0;
}

int Event::WaitMultiple(const std::vector<RCPtr<Event>>& events, bool all, int milliseconds) {
    if (events.empty()) {
        return -1;
    }
    std::vector<Event*> plain;
    plain.reserve(events.size());
    for (const RCPtr<Event>& event : events) {
        plain.push_back(event.Get());
    }
    return WaitFor(plain, all, milliseconds);
}

int Event::WaitFor(std::span<Event* const> events, bool all, int milliseconds) {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::unique_lock lock(State().mutex);
    Waiter waiter{events, {}, nullptr};
    const WaiterRegistration registration(waiter);
    for (;;) {
        const int seen = Take(events, all);
        if (seen >= 0) {
            return seen;
        }
        if (milliseconds < 0) {
            waiter.wake.wait(lock);
        } else if (waiter.wake.wait_until(lock, deadline) == std::cv_status::timeout) {
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
