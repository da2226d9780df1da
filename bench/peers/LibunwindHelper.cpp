#include "bench/crashd/CrashBenchProcess.h"

namespace zel::bench {

namespace {

// Reports function names and offsets but no source lines.
void CrashWithHelper(benchmark::State& state) {
    MeasureCrashes(state, {ZEL_BENCH_UNWIND_VICTIM});
}

const Comparison s_crash("a fault, to the end of its report",
                         {{"helper by libunwind", CrashWithHelper, 1.5}});

}  // namespace

}  // namespace zel::bench
