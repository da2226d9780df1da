#include "zel/foundation/WeakPtr.h"

#include "tests/support/AllocationWatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace zel {
namespace {

// What happens to the watched object and its block, in the order of happening.
std::string s_events;

bool IsCountLockFree() {
    bool isFree = false;
    std::thread([&] {
        const CriticalSectionLock lock(RCUtils::s_cs);
        isFree = true;
    }).join();
    return isFree;
}

class Probe : public RCObject {
public:
    explicit Probe(std::string name = {}) : m_name(std::move(name)) { s_events += "created, "; }
    ~Probe() override {
        s_events += IsCountLockFree() ? m_name + "destroyed, " : "destroyed under the lock, ";
    }

    std::string m_name;
};

class DerivedProbe : public Probe {};

// The control block is the second word of an object, behind the pointer to its virtual table.
void WatchBlockOf(const RCObject& object) {
    test::WatchBlock(reinterpret_cast<void* const*>(&object)[1],
                     [] { s_events += "block freed, "; });
}

class CountingTest : public testing::Test {
protected:
    void SetUp() override { s_events.clear(); }
    void Mark(const std::string& event) { s_events += event + ", "; }
    void MarkUpgrade(const WeakPtr<Probe>& weak) { Mark(weak.GetRCPtr() ? "upgraded" : "null"); }
};

static_assert(!std::is_convertible_v<RCPtr<RCObject>, RCPtr<Probe>>);
static_assert(std::is_nothrow_move_constructible_v<RCPtr<Probe>>);

TEST_F(CountingTest, AnObjectEndsWithItsLastPointerAndItsBlockWithTheLastWeakOne) {
    {
        RCPtr<Probe> first(new Probe);
        WatchBlockOf(*first);
        WeakPtr<Probe> weak(first);
        {
            RCPtr<Probe> second = first;
            Mark("retained");
            RCPtr<Probe> moved = std::move(second);
            first = nullptr;
            Mark("released once");
            MarkUpgrade(weak);
            WeakPtr<Probe> copy(weak);
            MarkUpgrade(copy);
        }
        MarkUpgrade(weak);
        WeakPtr<Probe> copy(weak);
        weak = WeakPtr<Probe>();
        Mark("first weak gone");
    }
    Mark("second weak gone");
    EXPECT_EQ(s_events,
              "created, retained, released once, upgraded, upgraded, destroyed, null, "
              "first weak gone, block freed, second weak gone, ");
}

TEST_F(CountingTest, WithoutWeakPointersTheBlockGoesBeforeTheObject) {
    RCPtr<Probe> probe(new Probe);
    WatchBlockOf(*probe);
    probe = nullptr;
    EXPECT_EQ(s_events, "created, block freed, destroyed, ");
}

TEST_F(CountingTest, AnObjectOnTheStackExpiresItsWeakPointersAtItsEnd) {
    WeakPtr<Probe> weak;
    {
        Probe probe;
        Probe copy(probe);
        copy = probe;
        WatchBlockOf(probe);
        weak = WeakPtr<Probe>(&probe);
    }
    MarkUpgrade(weak);
    EXPECT_EQ(s_events, "created, destroyed, destroyed, null, ");
    weak = nullptr;
    EXPECT_EQ(s_events, "created, destroyed, destroyed, null, block freed, ");
}

TEST_F(CountingTest, AWeakPointerMadeInTheDestructorIsNull) {
    class Looker : public RCObject {
    public:
        ~Looker() override { s_events += WeakPtr<Looker>(this).GetRCPtr() ? "revived" : "null"; }
    };
    RCPtr<Looker>(new Looker);
    EXPECT_EQ(s_events, "null");
}

TEST_F(CountingTest, AssignmentHoldsTheNewObjectBeforeTheOldOneGoes) {
    static RCPtr<Probe> slot;
    class Looker : public Probe {
    public:
        ~Looker() override { s_events += "sees " + (slot ? slot->m_name : "null") + ", "; }
    };
    slot = RCPtr<Probe>(new Looker);
    const RCPtr<Probe> next(new Probe("next "));
    slot = next;
    Mark("assigned");
    RCPtr<Probe>& alias = slot;
    slot = alias;
    Mark("to itself");
    slot = nullptr;
    EXPECT_EQ(s_events, "created, created, sees next , destroyed, assigned, to itself, ");
}

TEST_F(CountingTest, WithoutALockEverythingWorksOnOneThread) {
    CriticalSection* const lock = std::exchange(RCUtils::s_cs, nullptr);
    class Quiet : public RCObject {};
    RCPtr<Quiet> pointer(new Quiet);
    const WeakPtr<Quiet> weak(pointer);
    RCPtr<Quiet> copy = weak.GetRCPtr();
    pointer = copy;
    EXPECT_FALSE(copy->RemoveRefUnlessLast() && copy->RemoveRefUnlessLast());
    copy.Detach();
    pointer = nullptr;
    EXPECT_FALSE(weak.GetRCPtr());
    RCUtils::s_cs = lock;
}

TEST_F(CountingTest, PointersConvertCompareAndHashByTheirObject) {
    const RCPtr<DerivedProbe> derived(new DerivedProbe);
    const RCPtr<Probe> base = derived;
    const WeakPtr<Probe> weak = WeakPtr<DerivedProbe>(derived);
    EXPECT_EQ(base, RCPtr<Probe>(derived.Get()));
    EXPECT_EQ(weak.GetRCPtr(), derived.Get());
    EXPECT_NE(base, nullptr);
    EXPECT_TRUE(RCPtr<Probe>(NULL) == NULL);  // NOLINT(modernize-use-nullptr): other people's code
    EXPECT_EQ((std::unordered_set<RCPtr<Probe>>{base, derived}.size()), 1U);
    EXPECT_EQ((std::set<RCPtr<Probe>>{base, nullptr, derived}.size()), 2U);
}

// Both outcomes of the race must be seen: the upgrade that comes in time, and the one too late.
TEST_F(CountingTest, AnUpgradeThatRacesTheLastReleaseGetsAWholeObjectOrNull) {
    class Number : public RCObject {
    public:
        ~Number() override { m_value = 0; }
        std::atomic<int> m_value{42};
    };
    int upgraded = 0;
    int null = 0;
    for (int round = 0; round < 400 && (round < 4 || upgraded == 0 || null == 0); ++round) {
        constexpr int batch = 500;
        std::vector<RCPtr<Number>> owners;
        for (int i = 0; i < batch; ++i) {
            owners.emplace_back(new Number);
        }
        std::vector<WeakPtr<Number>> weak(owners.rbegin(), owners.rend());
        std::atomic<bool> go{false};
        std::thread releaser([&] {
            go = true;
            for (RCPtr<Number>& owner : owners) {
                owner = nullptr;
            }
        });
        while (!go) {
        }
        for (const WeakPtr<Number>& pointer : weak) {
            const RCPtr<Number> number = pointer.GetRCPtr();
            ++(number ? upgraded : null);
            ASSERT_TRUE(!number || number->m_value == 42);
        }
        releaser.join();
    }
    EXPECT_TRUE(upgraded > 0 && null > 0) << upgraded << ' ' << null;
}

}  // namespace
}  // namespace zel
