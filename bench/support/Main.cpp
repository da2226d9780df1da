#include "bench/support/Heap.h"
#include "bench/support/Table.h"

#include <iostream>
#include <regex>
#include <semaphore>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zel::bench {

namespace {

// Mutexes and shared pointers of the standard library avoid atomic instructions in a
// single-threaded process. A second thread makes them behave as in the multi-threaded programs we
// compare for.
class SecondThread {
public:
    ~SecondThread() {
        m_end.release();
        m_thread.join();
    }

private:
    std::binary_semaphore m_end{0};
    std::thread m_thread{[this] { m_end.acquire(); }};
};

void Register(const std::string& what, const Side& side) {
    const auto run = [&side](benchmark::State& state) {
        TidyHeap();
        side.run(state);
    };
    auto* const registered =
        benchmark::RegisterBenchmark(BenchmarkName(what, side.name).c_str(), run);
    registered->Threads(side.threads);
    if (side.threads > 1 || side.isWallClock) {
        registered->UseRealTime();
    }
}

// The caller's arguments follow the defaults and override them.
std::vector<char*> WithDefaults(int argc, char** argv) {
    static std::string s_defaults[] = {
        "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true",
        "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.1"};
    std::vector<char*> arguments{argv[0]};
    for (std::string& argument : s_defaults) {
        arguments.push_back(argument.data());
    }
    for (int i = 1; i < argc; ++i) {
        arguments.push_back(argv[i]);
    }
    return arguments;
}

Sides SelectSides() {
    const std::regex filter(benchmark::GetBenchmarkFilter());
    Sides sides = GetSides();
    std::erase_if(sides, [&](const auto& entry) {
        return !std::regex_search(BenchmarkName(entry.first, entry.second.name), filter);
    });
    return sides;
}

Sides TakeComparison(Sides& sides) {
    Sides comparison;
    const std::string what = sides.front().first;
    std::erase_if(sides, [&](const auto& entry) {
        const bool isTaken = entry.first == what;
        if (isTaken) {
            comparison.push_back(entry);
        }
        return isTaken;
    });
    return comparison;
}

void Measure(const Sides& comparison) {
    const SecondThread secondThread;
    for (const auto& [what, side] : comparison) {
        Register(what, side);
    }
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    table.Print(comparison, std::cout);
    std::cout.flush();
}

// The blocks that one comparison leaves in the heap would slow the next.
void MeasureInProcessOfItsOwn(const Sides& comparison) {
    const pid_t child = ::fork();
    Require(child != -1, "a process for a comparison");
    if (child == 0) {
        Measure(comparison);
        std::exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    Require(status == 0, comparison.front().first);
}

int Run(int argc, char** argv) {
    std::vector<char*> arguments = WithDefaults(argc, argv);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 1;
    }
    Sides sides = SelectSides();
    if (!sides.empty()) {
        Table::PrintHeader(std::cout);
        std::cout.flush();
    }
    while (!sides.empty()) {
        MeasureInProcessOfItsOwn(TakeComparison(sides));
    }
    return 0;
}

}  // namespace

}  // namespace zel::bench

int main(int argc, char** argv) {
    return zel::bench::Run(argc, argv);
}
