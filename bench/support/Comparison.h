#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zel::bench {

// One implementation of what is compared.
struct Side {
    static constexpr const char* OURS = "zel";
    static constexpr double NO_AIM = -1;

    std::string name;  // OURS or the peer's name
    std::function<void(benchmark::State&)> run;
    double aim = NO_AIM;  // of a peer: the aim for our figure divided by the peer's
    int threads = 1;
    bool isWallClock = false;  // for work done on other threads than the caller's
};

// Registers benchmarks of several implementations of one operation. Instances are declared at file
// scope; several files may contribute sides of the same comparison.
//
//     const Comparison s_locks("lock and unlock", {{Side::OURS, Lock<CriticalSection>},
//                                                  {"std::mutex", Lock<std::mutex>, 0.6}});
//
// A side's figure is the counter that its function sets by ReportPerNode or directly, named after
// its unit, or else the time of one iteration: wall-clock time if `isWallClock` or with several
// threads, CPU time otherwise.
class Comparison {
public:
    Comparison(std::string what, const std::vector<Side>& sides);
};

// Returns all registered sides with the operation they implement, in the order of registration.
using Sides = std::vector<std::pair<std::string, Side>>;
Sides& GetSides();

// Returns the name of a side's benchmark.
std::string BenchmarkName(const std::string& what, const std::string& side);

// Reports the time of an iteration divided by `nodes`.
void ReportPerNode(benchmark::State& state, std::size_t nodes);

// Exits with a message if the condition is false, so that work that was not really done is not
// measured.
void Require(bool condition, const std::string& what);

}  // namespace zel::bench
