#pragma once

#include "bench/support/Comparison.h"

#include <chrono>
#include <ctime>
#include <semaphore>

namespace zel::bench {

// Comparisons of timers. A `Service` runs timers on its own thread. It has a type Timer, which owns
// one timer, Timer Arm(interval, callable), and Cancel(Timer&).
namespace Timers {
inline constexpr std::chrono::nanoseconds SPREAD = std::chrono::milliseconds(100);
inline constexpr const char* FIRE_10000 = "arm 10,000 timers due within 100 ms and fire them";
inline constexpr const char* FIRE_100000 = "arm 100,000 timers due within 100 ms and fire them";
inline constexpr const char* CANCEL = "arm and delete 10,000 far timers";
inline constexpr const char* LATENESS = "lateness of a 5 ms timer, median";
inline constexpr const char* WORST_LATENESS = "lateness of a 5 ms timer, 99th percentile";
}  // namespace Timers

// Returns a side whose work is done by the timers' thread.
inline Side TimerSide(const char* name, void (*run)(benchmark::State&), double aim = Side::NO_AIM) {
    return {name, run, aim, 1, true};
}

using Clock = std::chrono::steady_clock;

// Measures the processor time used by all threads of the process since the construction.
class ProcessorTime {
public:
    // Reports the time for each of `timers` in each iteration.
    void Report(benchmark::State& state, int timers) const;

private:
    const std::clock_t m_start = std::clock();
};

// Collects the lateness of timers.
class Lateness {
public:
    static constexpr std::chrono::milliseconds INTERVAL{5};
    static constexpr int ROUNDS = 100;

    void Add(Clock::time_point due) { m_all.push_back(Clock::now() - due); }

    // Reports the percentile `percent`.
    void Report(benchmark::State& state, int percent);

private:
    std::vector<Clock::duration> m_all;
};

// Timers that are all due at one moment would hide what each pass over the armed ones costs, and
// the time spent polling the clock.
template <class Service, int count>
void FireTimers(benchmark::State& state) {
    Service service;
    const ProcessorTime time;
    for (auto _ : state) {
        int left = count;
        std::binary_semaphore done{0};
        std::vector<typename Service::Timer> timers;
        timers.reserve(count);
        for (int i = 0; i < count; ++i) {
            const std::chrono::nanoseconds interval = Timers::SPREAD / count * (i + 1);
            timers.push_back(service.Arm(interval, [&] {
                if (--left == 0) {
                    done.release();
                }
            }));
        }
        done.acquire();
    }
    time.Report(state, count);
}

template <class Service, int count>
void CancelTimers(benchmark::State& state) {
    Service service;
    const ProcessorTime time;
    for (auto _ : state) {
        std::vector<typename Service::Timer> timers;
        timers.reserve(count);
        for (int i = 0; i < count; ++i) {
            timers.push_back(service.Arm(std::chrono::hours(1), [] {}));
        }
        for (auto& timer : timers) {
            service.Cancel(timer);
        }
    }
    time.Report(state, count);
}

template <class Service, int percent>
void MeasureLateness(benchmark::State& state) {
    Service service;
    Lateness lateness;
    for (auto _ : state) {
        for (int i = 0; i < Lateness::ROUNDS; ++i) {
            std::binary_semaphore fired{0};
            const Clock::time_point due = Clock::now() + Lateness::INTERVAL;
            const auto timer = service.Arm(Lateness::INTERVAL, [&] {
                lateness.Add(due);
                fired.release();
            });
            fired.acquire();
        }
    }
    lateness.Report(state, percent);
}

}  // namespace zel::bench
