#include "zel/core/RCBatch.h"
#include "zel/core/WeakPtr.h"

#include "tests/support/AllocationWatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

namespace zel {
namespace {

// What happens to the watched object and its control block, in order.
std::string s_events;

void Mark(const std::string& event) {
    s_events += event + ", ";
}

std::string TakeEvents() {
    return std::exchange(s_events, {});
}

struct Probe : RCObject {
    Probe() { Mark("created"); }
    Probe(const Probe&) = default;
    ~Probe() override {
        std::thread([] { const CriticalSectionLock lock(RCUtils::s_cs); }).join();
        Mark("destroyed");
    }
};

void MarkUpgrade(const WeakPtr<Probe>& weak) {
    Mark(weak.GetRCPtr() ? "upgraded" : "null");
}

static_assert(!std::is_convertible_v<RCPtr<RCObject>, RCPtr<Probe>>);
static_assert(std::is_nothrow_move_constructible_v<RCPtr<Probe>>);

TEST(CountingTest, DeletesAnObjectWithItsLastRCPtrAndItsBlockWithTheLastWeakPtr) {
    CriticalSection* const lock = RCUtils::s_cs;
    for (CriticalSection* const used : {lock, static_cast<CriticalSection*>(nullptr)}) {
        RCUtils::s_cs = used;
        {
            RCPtr<Probe> first(new Probe);
            // The control block is the second word of an object, after the virtual table pointer.
            test::WatchBlock(reinterpret_cast<void**>(first.Get())[1], [] { Mark("block freed"); });
            WeakPtr<Probe> weak(first);
            {
                RCPtr<Probe> second = first;
                RCPtr<Probe> moved = std::move(second);
                first = nullptr;
                RCBatch::ReleaseShared(&moved, &moved + 1);
                Mark(moved ? "last stays" : "lost");
                MarkUpgrade(weak);
            }
            MarkUpgrade(weak);
            const WeakPtr<Probe> copy(weak);
            weak = WeakPtr<Probe>();
            Mark("first weak released");
        }
        EXPECT_EQ(TakeEvents(),
                  "created, last stays, upgraded, destroyed, null, first weak released, "
                  "block freed, ");
    }
    RCUtils::s_cs = lock;
}

TEST(CountingTest, AnObjectOnTheStackExpiresItsWeakPointers) {
    WeakPtr<Probe> weak;
    {
        Probe probe;
        Probe copy(probe);
        copy = probe;
        weak = WeakPtr<Probe>(&probe);
    }
    MarkUpgrade(weak);
    EXPECT_EQ(TakeEvents(), "created, destroyed, destroyed, null, ");
}

TEST(CountingTest, AssignmentHoldsTheNewObjectBeforeItReleasesTheOldOne) {
    static RCPtr<Probe> slot;
    static RCPtr<Probe> next;
    struct Looker : Probe {
        ~Looker() override {
            Mark(slot == next ? "sees next" : "sees another");
            MarkUpgrade(WeakPtr<Looker>(this));
        }
    };
    slot = new Looker;
    next = new Probe;
    slot = next;
    Mark("assigned");
    RCPtr<Probe>& alias = slot;
    slot = alias;
    slot = nullptr;
    Mark("released once");
    next = nullptr;
    EXPECT_EQ(TakeEvents(),
              "created, created, sees next, null, destroyed, assigned, released once, destroyed, ");
}

TEST(CountingTest, PointersConvertCompareAndHashByAddress) {
    const RCPtr<Probe> probe(new Probe);
    const RCPtr<RCObject> base = probe;
    const WeakPtr<const RCObject> weak = WeakPtr<const Probe>(RCPtr<const Probe>(probe));
    EXPECT_EQ(weak.GetRCPtr(), base.Get());
    EXPECT_TRUE(RCPtr<Probe>(NULL) == NULL);  // NOLINT(modernize-use-nullptr): used by programs
    EXPECT_EQ((std::unordered_set<RCPtr<RCObject>>{base, probe}.size()), 1U);
    EXPECT_EQ((std::set<RCPtr<RCObject>>{base, nullptr, probe}.size()), 2U);
}

// Repeats the race until both outcomes have occurred.
TEST(CountingTest, AnUpgradeDuringTheLastReleaseReturnsALivingObjectOrNull) {
    struct Number : RCObject {
        ~Number() override { m_value = 0; }
        std::atomic<int> m_value{42};
    };
    int upgraded = 0;
    int null = 0;
    for (int round = 0; round < 400 && (round < 4 || upgraded == 0 || null == 0); ++round) {
        std::vector<RCPtr<Number>> owners(500);
        std::generate(owners.begin(), owners.end(), [] { return new Number; });
        const std::vector<WeakPtr<Number>> weak(owners.rbegin(), owners.rend());
        std::atomic<bool> go{false};
        const std::jthread releaser([&] {
            go = true;
            owners.clear();
        });
        while (!go) {
        }
        for (const WeakPtr<Number>& pointer : weak) {
            const RCPtr<Number> number = pointer.GetRCPtr();
            ++(number ? upgraded : null);
            ASSERT_TRUE(!number || number->m_value == 42);
        }
    }
}

}  // namespace
}  // namespace zel
