#include "zel/commands/TimerEventSource.h"

#include "zel/foundation/Log.h"

#include <utility>

namespace zel {

namespace {

const LogArea s_log("TimerEventSource", -1);

}  // namespace

TimerEventSource::TimerEventSource(double interval) : m_interval(interval) {}

TimerEventSource::~TimerEventSource() = default;

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

}  // namespace zel
