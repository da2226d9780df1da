#include "bench/commands/TimerBench.h"

#include <uv.h>

namespace zel::bench {

namespace {

struct Run {
    Lateness lateness;
    Clock::time_point due;
    int left = Lateness::ROUNDS;
};

// Timers of a loop are armed on its own thread, so no communication between threads is measured.
void Arm(uv_timer_t* timer) {
    const auto fire = [](uv_timer_t* fired) {
        Run& run = *static_cast<Run*>(fired->data);
        run.lateness.Add(run.due);
        if (--run.left > 0) {
            Arm(fired);
        }
    };
    uv_update_time(timer->loop);
    static_cast<Run*>(timer->data)->due = Clock::now() + Lateness::INTERVAL;
    uv_timer_start(timer, fire, Lateness::INTERVAL.count(), 0);
}

template <int percent>
void MeasureLoop(benchmark::State& state) {
    Run run;
    uv_loop_t loop;
    Require(uv_loop_init(&loop) == 0, "the loop is initialized");
    uv_timer_t timer;
    uv_timer_init(&loop, &timer);
    timer.data = &run;
    for (auto _ : state) {
        run.left = Lateness::ROUNDS;
        Arm(&timer);
        uv_run(&loop, UV_RUN_DEFAULT);
    }
    uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
    run.lateness.Report(state, percent);
}

const Comparison s_lateness(Timers::LATENESS, {TimerSide("libuv", MeasureLoop<50>, 0.7)});
const Comparison s_worst(Timers::WORST_LATENESS, {TimerSide("libuv", MeasureLoop<99>)});

}  // namespace

}  // namespace zel::bench
