#include "zel/commands/TimerEventSource.h"

#include "zel/foundation/Log.h"

#include <algorithm>
#include <utility>

namespace zel {

namespace {

const LogArea s_log("TimerEventSource", -1);

}  // namespace

TimerEventSource::TimerEventSource(double interval) : m_interval(interval) {}

TimerEventSource::~TimerEventSource() = default;

// A restarted timer isn't due, and keeps its time.
void TimerEventSource::Advance(double now) noexcept {
    constexpr double most = 1e15;  // a number of ticks that both types hold exactly
    std::int64_t tick = m_tick;
    const double elapsed = std::min((now - m_timer.GetStartTime()) / m_interval, most);
    if (elapsed >= static_cast<double>(tick)) {
        const std::int64_t next = std::max(tick + 1, static_cast<std::int64_t>(elapsed));
        if (m_tick.compare_exchange_strong(tick, next)) {
            m_missedTicks += next - tick - 1;
        }
    }
}

CallbackTimer::CallbackTimer(double interval, std::function<void()> callback)
    : TimerEventSource(interval), m_callback(std::move(callback)) {
    if (!m_callback) {
        Throw<Exception>(s_log, "A timer needs a function to call.");
    }
}

CallbackTimer::~CallbackTimer() = default;

void CallbackTimer::Fire() {
    m_callback();
}

RepeatingTimer::RepeatingTimer(double interval, std::function<void()> callback)
    : CallbackTimer(interval, std::move(callback)) {
    if (!(interval > 0)) {
        Throw<Exception>(s_log, "A repeating timer needs an interval above 0, not ", interval, '.');
    }
    m_isRepeating = true;
}

RepeatingTimer::~RepeatingTimer() = default;

}  // namespace zel
