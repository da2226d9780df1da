#include "zel/bridge/CFuncBinder.h"

#include "bench/support/Comparison.h"

#include <mutex>

namespace zel::bench {

namespace {

int Add(int a, int b) {
    return a + b;
}

void CallOverTheBridge(benchmark::State& state) {
    CBinder::Prepare();
    char key = 0;
    RegisterFunction(&key, Add);
    int sum = 0;
    for (auto _ : state) {
        ZelCppBridge(&key, 2, 3, &sum);
        benchmark::DoNotOptimize(sum);
    }
    Require(sum == 5, "the registered function is called");
    CBinder::Release();
}

void CallUnderMutex(benchmark::State& state) {
    std::recursive_mutex mutex;
    int (*function)(int, int) = Add;
    benchmark::DoNotOptimize(function);
    for (auto _ : state) {
        const std::lock_guard lock(mutex);
        benchmark::DoNotOptimize(function(2, 3));
    }
}

const Comparison s_call("call a function of two ints by its key",
                        {{Side::OURS, CallOverTheBridge},
                         {"recursive_mutex", CallUnderMutex, 3.0}});

}  // namespace

}  // namespace zel::bench
