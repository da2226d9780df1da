#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TimerEventThread.h"
#include "zel/commands/TimerThread.h"

#include <atomic>
#include <cmath>
#include <iostream>
#include <sys/resource.h>
#include <thread>
#include <vector>

// A tick of 20 ms stays on its grid over 1000 ticks, on an idle machine and on a busy one, and
// threads that have nothing to do aren't even woken in ten seconds.

namespace {

using zel::RCPtr;

constexpr int TICKS = 1000;
constexpr double PERIOD = 0.02;
constexpr int IDLE_MILLISECONDS = 10000;

long CountContextSwitches() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw + usage.ru_nivcsw;
}

// Keeps every core busy for its lifetime.
class Load {
public:
    Load() {
        for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i) {
            m_threads.emplace_back([this] {
                while (!m_ended) {
                }
            });
        }
    }

    ~Load() {
        m_ended = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }

private:
    std::atomic<bool> m_ended{false};
    std::vector<std::thread> m_threads;
};

// The seconds by which the last tick is off its place. A tick is taken when it is posted.
double MeasureDrift() {
    class Clock : public zel::CommandProcessor {
    public:
        void PostCommand(RCPtr<zel::Command> tick) override {
            last = timer.GetElapsedTime();
            tick->Run();
        }

        zel::Timer timer;
        double last = 0;
    };
    const RCPtr<Clock> clock(new Clock);
    const RCPtr<zel::TimerThread> timer(new zel::TimerThread(clock, PERIOD, 1, TICKS));
    clock->timer.Start();
    timer->Start();
    timer->Join();
    return clock->last - TICKS * PERIOD;
}

// Ticks that other programs hold up for more than a period aren't made up, so the limit is a share
// of the whole run.
bool IsSteady(const char* machine, double mostDrift) {
    const double drift = MeasureDrift();
    std::cout << "after " << TICKS << " ticks on " << machine << " machine: " << drift * 1000
              << " ms off\n";
    return std::abs(drift) < mostDrift * TICKS * PERIOD;
}

bool IsQuiet() {
    const RCPtr<zel::ThreadCommandProcessor> processor(new zel::ThreadCommandProcessor);
    const RCPtr<zel::TimerEventThread> timers(new zel::TimerEventThread);
    timers->Start();
    zel::Thread::SleepFor(100);
    const long before = CountContextSwitches();
    zel::Thread::SleepFor(IDLE_MILLISECONDS);
    const long switches = CountContextSwitches() - before;
    timers->RequestStop();
    timers->Join();
    std::cout << switches << " context switches while idle, one of them the measuring thread's\n";
    return switches <= 1;
}

}  // namespace

int main() {
    bool isGood = IsQuiet();
    isGood = IsSteady("an idle", 0.01) && isGood;
    const Load load;
    isGood = IsSteady("a busy", 0.05) && isGood;
    return isGood ? 0 : 1;
}
