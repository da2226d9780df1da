#include "bench/support/Comparison.h"

#include <cstdlib>
#include <iostream>

namespace zel::bench {

Comparison::Comparison(std::string what, const std::vector<Side>& sides) {
    for (const Side& side : sides) {
        GetSides().emplace_back(what, side);
    }
}

Sides& GetSides() {
    static Sides s_sides;
    return s_sides;
}

std::string BenchmarkName(const std::string& what, const std::string& side) {
    return what + "/" + side;
}

void ReportPerNode(benchmark::State& state, std::size_t nodes) {
    // The library's inverted rates are in seconds.
    constexpr double secondsPerNanosecond = 1e-9;
    state.counters["ns/node"] = benchmark::Counter(
        secondsPerNanosecond * static_cast<double>(nodes),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Require(bool condition, const std::string& what) {
    if (!condition) {
        std::cerr << "benchmark: requirement failed: " << what << '\n';
        std::exit(1);
    }
}

}  // namespace zel::bench
