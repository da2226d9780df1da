#include "zel/core/CriticalSectionLock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace zel {
namespace {

TEST(CriticalSectionTest, ExcludesOtherThreadsAndWakesSleepingOnes) {
    CriticalSection cs("counter");
    constexpr int threads = 4;
    constexpr int rounds = 20000;
    int counter = 0;
    const auto work = [&] {
        for (int round = 0; round < rounds; ++round) {
            const CriticalSectionLock outer(&cs);
            const CriticalSectionLock inner(&cs);
            ++counter;
            if (round % 1000 == 0) {
                std::this_thread::yield();  // long enough for the others to go to sleep
            }
        }
    };
    {
        std::vector<std::jthread> workers;
        for (int i = 0; i < threads; ++i) {
            workers.emplace_back(work);
        }
    }
    EXPECT_EQ(counter, threads * rounds);
    EXPECT_EQ(cs.GetName(), "counter");
}

TEST(CriticalSectionTest, IsReleasedByTheLastLeave) {
    CriticalSection cs;
    cs.Enter();
    cs.Enter();
    {
        CriticalSectionLock lock(&cs);
        lock.Unlock();
        lock.Unlock();
        const CriticalSectionLock nothing(nullptr);
    }
    cs.Leave();
    std::atomic<bool> isTrying{false};
    bool isLeft = false;
    const std::jthread other([&] {
        isTrying = true;
        const CriticalSectionLock lock(&cs);
        EXPECT_TRUE(isLeft);
    });
    for (int round = 0; round < 100 || !isTrying; ++round) {
        std::this_thread::yield();
    }
    isLeft = true;
    cs.Leave();
}

}  // namespace
}  // namespace zel
