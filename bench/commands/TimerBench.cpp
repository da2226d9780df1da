#include "bench/commands/TimerBench.h"

#include "zel/commands/TimerEventThread.h"

#include <algorithm>

namespace zel::bench {

void ProcessorTime::Report(benchmark::State& state, int timers) const {
    const double seconds = static_cast<double>(std::clock() - m_start) / CLOCKS_PER_SEC;
    const double all = static_cast<double>(timers) * static_cast<double>(state.iterations());
    state.counters["ns/timer"] = seconds * 1e9 / all;
}

void Lateness::Report(benchmark::State& state, int percent) {
    const auto place = m_all.begin() + static_cast<std::ptrdiff_t>(m_all.size()) * percent / 100;
    std::nth_element(m_all.begin(), place, m_all.end());
    state.counters["us"] = std::chrono::duration<double, std::micro>(*place).count();
}

namespace {

class Service {
public:
    using Timer = RCPtr<TimerEventSource>;

    Service() { m_timers->Start(); }

    ~Service() {
        m_timers->RequestStop();
        m_timers->Join();
    }

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    template <class Callable>
    Timer Arm(std::chrono::duration<double> interval, Callable callable) {
        Timer timer(new CallbackTimer(interval.count(), std::move(callable)));
        m_timers->AddTimer(timer);
        return timer;
    }

    void Cancel(const Timer& timer) { m_timers->DeleteTimer(timer.Get()); }

private:
    const RCPtr<TimerEventThread> m_timers{new TimerEventThread};
};

const Comparison s_fire(Timers::FIRE_10000, {TimerSide(Side::OURS, FireTimers<Service, 10000>)});
const Comparison s_fireMany(Timers::FIRE_100000,
                            {TimerSide(Side::OURS, FireTimers<Service, 100000>)});
const Comparison s_cancel(Timers::CANCEL, {TimerSide(Side::OURS, CancelTimers<Service, 10000>)});
const Comparison s_lateness(Timers::LATENESS,
                            {TimerSide(Side::OURS, MeasureLateness<Service, 50>)});
const Comparison s_worst(Timers::WORST_LATENESS,
                         {TimerSide(Side::OURS, MeasureLateness<Service, 99>)});

}  // namespace

}  // namespace zel::bench
