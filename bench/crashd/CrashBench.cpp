#include "bench/crashd/CrashBenchProcess.h"
#include "tests/support/linux/FindOrphan.h"

#include <fstream>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace zel::bench {

namespace {

using Command = std::vector<std::string>;

// Orphans of a program become children of this process.
const int s_isReaper = prctl(PR_SET_CHILD_SUBREAPER, 1);

void ReportAverage(benchmark::State& state, const char* unit, double sum) {
    state.counters[unit] = benchmark::Counter(sum, benchmark::Counter::kAvgIterations);
}

void ReportedCrash(benchmark::State& state) {
    MeasureCrashes(state, {ZEL_BENCH_VICTIM, "0"});
}

void WalkingCrash(benchmark::State& state) {
    MeasureCrashes(state, {ZEL_BENCH_VICTIM, "alone"});
}

const Comparison s_crash("a fault, to the end of its report",
                         {{Side::OURS, ReportedCrash},
                          {"the kernel and the walk", WalkingCrash, 3}});

template <int mebibytes>
void SetUp(benchmark::State& state) {
    double sum = 0;
    for (auto _ : state) {
        Process program(Command{ZEL_BENCH_VICTIM, std::to_string(mebibytes)});
        const double taken = std::stod(program.ReadUntil("r"));
        Require(taken > 0, "crash handling is set up");
        sum += taken;
    }
    ReportAverage(state, "ms", sum);
}

void StartEmptyProgram(benchmark::State& state) {
    double sum = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        Process program(Command{ZEL_BENCH_EMPTY});
        program.ReadUntil("r");
        sum += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                   .count();
    }
    ReportAverage(state, "ms", sum);
}

const Comparison s_setUp("Initialize",
                         {{Side::OURS, SetUp<0>}, {"an empty program", StartEmptyProgram}});

const Comparison s_largeSetUp("Initialize in a process of 1 GiB",
                              {{Side::OURS, SetUp<1024>}, {"in a small process", SetUp<0>, 1.2}});

double PrivateKibibytes(pid_t process) {
    std::ifstream in("/proc/" + std::to_string(process) + "/smaps_rollup");
    double sum = 0;
    for (std::string word; in >> word;) {
        if (word == "Private_Clean:" || word == "Private_Dirty:") {
            double size = 0;
            in >> size;
            sum += size;
        }
    }
    return sum;
}

void WaitingDaemon(benchmark::State& state) {
    double sum = 0;
    for (auto _ : state) {
        Process program(Command{ZEL_BENCH_VICTIM, "0"});
        program.ReadUntil("r");
        sum += PrivateKibibytes(test::FindOrphan(program));
    }
    ReportAverage(state, "KiB", sum);
}

void WaitingProgram(benchmark::State& state) {
    double sum = 0;
    for (auto _ : state) {
        Process program(Command{ZEL_BENCH_EMPTY});
        program.ReadUntil("r");
        sum += PrivateKibibytes(program.GetId());
    }
    ReportAverage(state, "KiB", sum);
}

const Comparison s_memory("memory of a waiting daemon",
                          {{Side::OURS, WaitingDaemon}, {"an empty program", WaitingProgram, 2}});

}  // namespace

}  // namespace zel::bench
