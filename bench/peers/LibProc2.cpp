#include "bench/process/Processes.h"
#include "bench/support/Comparison.h"

#include <libproc2/pids.h>
#include <list>
#include <string>

namespace zel::bench {

namespace {

struct Process {
    std::string name;
    unsigned int pid;
};

std::list<Process> ListProcesses(pids_info* table) {
    std::list<Process> processes;
    const pids_fetch* const found = procps_pids_reap(table, PIDS_FETCH_TASKS_ONLY);
    Require(found != nullptr, "libproc2 lists the processes");
    for (int i = 0; i < found->counts->total; ++i) {
        const pids_result* const values = found->stacks[i]->head;
        const std::string path = values[1].result.str;
        processes.push_back({path.substr(path.find_last_of('/') + 1),
                             static_cast<unsigned int>(values[0].result.s_int)});
    }
    return processes;
}

void List(benchmark::State& state) {
    const std::size_t count = CrowdMachine();
    pids_item items[] = {PIDS_ID_PID, PIDS_EXE};
    pids_info* table = nullptr;
    Require(procps_pids_new(&table, items, 2) == 0, "libproc2 is initialized");
    for (auto _ : state) {
        std::list<Process> processes = ListProcesses(table);
        benchmark::DoNotOptimize(processes);
    }
    procps_pids_unref(&table);
    ReportPerNode(state, count);
}

const Comparison s_list(LIST_PROCESSES, {{"libproc2", List, 0.7}});

}  // namespace

}  // namespace zel::bench
