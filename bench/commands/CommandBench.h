#pragma once

#include "bench/support/Comparison.h"

#include <semaphore>

namespace zel::bench {

// Comparisons of posting to one worker thread. A `Poster` has GetWork(), and Post(function), which
// calls that member function of the work with an int on the worker thread.
namespace Commands {
inline constexpr const char* MANY = "post 10,000 commands and run them";
inline constexpr const char* ONE = "post a command and wait for it";
}  // namespace Commands

// A counter that commands decrement.
class Work {
public:
    void SetCount(int count) { m_left = count; }

    void Do(int step) {
        m_left -= step;
        if (m_left == 0) {
            m_done.release();
        }
    }

    void Wait() { m_done.acquire(); }

private:
    int m_left = 0;
    std::binary_semaphore m_done{0};
};

inline Side PostingSide(const char* name, void (*run)(benchmark::State&), double aim) {
    return {name, run, aim, 1, true};
}

template <class Poster, int count>
void PostCommands(benchmark::State& state) {
    Poster poster;
    for (auto _ : state) {
        poster.GetWork().SetCount(count);
        for (int i = 0; i < count; ++i) {
            poster.Post(&Work::Do);
        }
        poster.GetWork().Wait();
    }
    ReportPerNode(state, count);
}

}  // namespace zel::bench
