#include "zel/core/CriticalSectionLock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace zel {
namespace {

TEST(CriticalSectionTest, ExcludesOtherThreadsUntilTheLastLeave) {
    CriticalSection cs("counter");
    constexpr int rounds = 20000;
    int counter = 0;
    const auto work = [&] {
        for (int round = 0; round < rounds; ++round) {
            const CriticalSectionLock outer(&cs);
            CriticalSectionLock inner(&cs);
            inner.Unlock();
            inner.Unlock();
            const int seen = counter;
            if (round % 1000 == 0) {
                std::this_thread::yield();  // long enough for the others to go to sleep
            }
            counter = seen + 1;
        }
    };
    std::vector<std::jthread> workers;
    for (int i = 0; i < 4; ++i) {
        workers.emplace_back(work);
    }
    workers.clear();
    EXPECT_EQ(counter, 4 * rounds);
    EXPECT_EQ(cs.GetName(), "counter");
    CriticalSectionLock(nullptr).Unlock();
}

}  // namespace
}  // namespace zel
