#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zel::bench {

// One way of doing a thing.
struct Side {
    static constexpr const char* OURS = "zel";
    static constexpr double NO_AIM = -1;

    std::string name;  // OURS, or the peer's
    std::function<void(benchmark::State&)> run;
    double aim = NO_AIM;  // of a peer: the share of its figure that ours should be at most
    int threads = 1;
    bool isWallClock = false;  // for what is done on other threads than the caller's
};

// Declares benchmarks of several ways of doing one thing, at file scope and in any number of files.
//
//     const Comparison s_locks("lock and unlock", {{Side::OURS, Lock<CriticalSection>},
//                                                  {"std::mutex", Lock<std::mutex>, 0.6}});
//
// A side's figure is the time of an iteration, of wall clock if it runs on several threads or asks
// for it, or what its function reports by ReportPerNode or as the one counter of the state, named
// by its unit.
class Comparison {
public:
    Comparison(std::string what, const std::vector<Side>& sides);
};

// All that was declared, as `what` and side, in the order of declaration.
using Sides = std::vector<std::pair<std::string, Side>>;
Sides& GetSides();

// The name of a side's benchmark.
std::string BenchmarkName(const std::string& what, const std::string& side);

// Makes the time of an iteration divided by `nodes` the figure.
void ReportPerNode(benchmark::State& state, std::size_t nodes);

// Ends the program with a message unless the condition holds: what a peer didn't really do must not
// be measured.
void Require(bool condition, const std::string& what);

}  // namespace zel::bench
