#include "zel/commands/TimerEventSource.h"

#include "zel/core/Exception.h"

#include <utility>

namespace zel {

TimerEventSource::TimerEventSource(double interval) : m_interval(interval) {}

TimerEventSource::~TimerEventSource() = default;

CallbackTimer::CallbackTimer(double interval, std::function<void()> callback)
    : TimerEventSource(interval), m_callback(std::move(callback)) {
    if (!m_callback) {
        throw Exception("Exception", "A timer needs a function to call.", "TimerEventSource",
                        __LINE__);
    }
}

CallbackTimer::~CallbackTimer() = default;

void CallbackTimer::Fire() {
    m_callback();
}

}  // namespace zel
