#include "zel/foundation/CriticalSectionLock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace zel {
namespace {

// For a lock that the caller holds once: another thread gets in when the caller leaves, not before.
void ExpectHeld(CriticalSection& cs) {
    std::atomic<bool> isTrying{false};
    std::atomic<bool> entered{false};
    std::thread other([&] {
        isTrying = true;
        cs.Enter();
        entered = true;
        cs.Leave();
    });
    for (int round = 0; round < 100 || !isTrying; ++round) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(entered);
    cs.Leave();
    other.join();
    cs.Enter();
}

TEST(CriticalSectionTest, KeepsThreadsApartAndWakesThoseThatSleep) {
    CriticalSection cs("counter");
    constexpr int threads = 4;
    constexpr int rounds = 20000;
    int counter = 0;
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                const CriticalSectionLock outer(&cs);
                const CriticalSectionLock inner(&cs);
                ++counter;
                if (round % 1000 == 0) {
                    std::this_thread::yield();  // long enough for the others to go to sleep
                }
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(counter, threads * rounds);
    EXPECT_EQ(cs.GetName(), "counter");
}

TEST(CriticalSectionTest, StaysWithItsOwnerUntilLeftAsOftenAsEntered) {
    CriticalSection cs;
    cs.Enter();
    cs.Enter();
    {
        CriticalSectionLock lock(&cs);
        lock.Unlock();
        lock.Unlock();
        CriticalSectionLock nothing(nullptr);
        nothing.Unlock();
    }
    cs.Leave();
    ExpectHeld(cs);
    cs.Leave();
    std::thread([&] { const CriticalSectionLock lock(&cs); }).join();
}

}  // namespace
}  // namespace zel
