#include "zel/core/CriticalSection.h"

#include "bench/support/Comparison.h"

#include <mutex>

namespace zel::bench {

namespace {

void Enter(CriticalSection& lock) {
    lock.Enter();
}

void Leave(CriticalSection& lock) {
    lock.Leave();
}

void Enter(std::recursive_mutex& lock) {
    lock.lock();
}

void Leave(std::recursive_mutex& lock) {
    lock.unlock();
}

template <class Lock>
void EnterAndLeave(benchmark::State& state, Lock& lock) {
    for (auto _ : state) {
        Enter(lock);
        benchmark::ClobberMemory();
        Leave(lock);
    }
}

template <class Lock>
void FromOutside(benchmark::State& state) {
    Lock lock;
    EnterAndLeave(state, lock);
}

template <class Lock>
void FromInside(benchmark::State& state) {
    Lock lock;
    Enter(lock);
    EnterAndLeave(state, lock);
    Leave(lock);
}

const Comparison s_outside("enter and leave a lock",
                           {{Side::OURS, FromOutside<CriticalSection>},
                            {"std::recursive_mutex", FromOutside<std::recursive_mutex>, 0.6}});

const Comparison s_inside("the same while inside it",
                          {{Side::OURS, FromInside<CriticalSection>},
                           {"std::recursive_mutex", FromInside<std::recursive_mutex>, 0.25}});

}  // namespace

}  // namespace zel::bench
