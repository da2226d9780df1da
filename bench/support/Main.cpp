#include "bench/support/Heap.h"
#include "bench/support/Table.h"

#include <iostream>
#include <semaphore>
#include <thread>

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

int Run(int argc, char** argv) {
    std::vector<char*> arguments = WithDefaults(argc, argv);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 1;
    }
    const SecondThread secondThread;
    for (const auto& [what, side] : GetSides()) {
        Register(what, side);
    }
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    table.Print(GetSides(), std::cout);
    return 0;
}

}  // namespace

}  // namespace zel::bench

int main(int argc, char** argv) {
    return zel::bench::Run(argc, argv);
}
