#include "zel/process/ProcessUtils.h"

#include "bench/process/Processes.h"
#include "bench/support/Comparison.h"

namespace zel::bench {

namespace {

void List(benchmark::State& state) {
    const std::size_t count = CrowdMachine();
    for (auto _ : state) {
        std::list<RCPtr<ProcessInfo>> processes;
        ProcessUtils::ListProcesses(&processes, "");
        benchmark::DoNotOptimize(processes);
    }
    ReportPerNode(state, count);
}

const Comparison s_list(LIST_PROCESSES, {{Side::OURS, List}});

}  // namespace

}  // namespace zel::bench
