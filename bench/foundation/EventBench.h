#pragma once

#include "bench/support/Comparison.h"

namespace zel::bench {

// Comparisons of event sources. A `Source` is constructed with a number of Sinks and has Fire(int)
// and, for CHANGE, AddAndRemove().
namespace Events {
inline constexpr const char* FIRE_10 = "fire, 10 sinks";
inline constexpr const char* FIRE_100 = "fire, 100 sinks";
inline constexpr const char* FIRE_10_TWICE = "fire, 10 sinks, 2 threads on one source";
inline constexpr const char* CHANGE = "add and remove a sink beside 10";
}  // namespace Events

inline constinit thread_local int t_seen = 0;

// Changes only thread-local memory.
struct Sink {
    void operator()(int value) const { t_seen += value; }
};

template <class Source, int sinks>
void Fire(benchmark::State& state) {
    static Source s_source(sinks);
    const int before = t_seen;
    s_source.Fire(1);
    Require(t_seen - before == sinks, "every sink is called once");
    for (auto _ : state) {
        s_source.Fire(1);
    }
}

template <class Source>
void AddAndRemove(benchmark::State& state) {
    constexpr int others = 10;
    Source source(others);
    for (auto _ : state) {
        source.AddAndRemove();
    }
}

}  // namespace zel::bench
