#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TimerEventThread.h"
#include "zel/commands/TimerThread.h"

#include <cmath>
#include <iostream>
#include <sys/resource.h>
#include <thread>
#include <vector>

// A tick of 20 ms doesn't drift in 1000 ticks, on an idle and on a busy machine, and idle threads
// don't wake up in ten seconds.

namespace {

using zel::RCPtr;

constexpr int TICKS = 1000;
constexpr double PERIOD = 0.02;

long CountContextSwitches() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw + usage.ru_nivcsw;
}

struct ImmediateProcessor : zel::CommandProcessor {
    void PostCommand(RCPtr<zel::Command> tick) override { tick->Run(); }
};

// Ticks that other programs delay by more than a period are skipped, so `limit` is a fraction of
// the whole run.
bool IsSteady(const char* machine, double limit) {
    const RCPtr<ImmediateProcessor> processor(new ImmediateProcessor);
    const RCPtr<zel::TimerThread> ticker(new zel::TimerThread(processor, PERIOD, 1, TICKS));
    const zel::Timer timer;
    ticker->Start();
    ticker->Join();
    const double drift = timer.GetElapsedTime() - TICKS * PERIOD;
    std::cout << "drift after " << TICKS << " ticks on " << machine << " machine: " << drift * 1000
              << " ms\n";
    return std::abs(drift) < limit * TICKS * PERIOD;
}

bool IsSteadyUnderLoad() {
    std::vector<std::jthread> load;
    for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i) {
        load.emplace_back([](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
            }
        });
    }
    return IsSteady("a busy", 0.05);
}

bool IsQuiet() {
    const RCPtr<zel::ThreadCommandProcessor> processor(new zel::ThreadCommandProcessor);
    const RCPtr<zel::TimerEventThread> timers(new zel::TimerEventThread);
    timers->Start();
    zel::Thread::SleepFor(100);
    const long before = CountContextSwitches();
    zel::Thread::SleepFor(10'000);
    const long switches = CountContextSwitches() - before;
    timers->RequestStop();
    timers->Join();
    std::cout << switches << " context switches while idle, one of them of the measuring thread\n";
    return switches <= 1;
}

}  // namespace

int main() {
    const bool isQuiet = IsQuiet();
    const bool isSteady = IsSteady("an idle", 0.01);
    return IsSteadyUnderLoad() && isSteady && isQuiet ? 0 : 1;
}
