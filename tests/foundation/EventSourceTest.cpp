#include "zel/foundation/EventSource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace zel {
namespace {

struct EventSourceTest : testing::Test {
    // Connects a sink that records its name and returns what `stays` returns.
    RCPtr<EventSink<int>> Connect(
        const std::string& name, std::function<bool()> stays = [] { return true; }) {
        return m_source.Connect([=, this](const int& value) {
            m_calls += name + std::to_string(value) + ' ';
            return stays();
        });
    }

    std::string Fire(int value) {
        m_calls.clear();
        m_source.Fire(value);
        return m_calls;
    }

    const std::function<bool()> m_once = [] { return false; };
    EventSource<int> m_source;
    std::string m_calls;
};

TEST_F(EventSourceTest, CallsSinksInOrderAndAppliesAChangeFromTheNextFiring) {
    EXPECT_EQ(Fire(0), "");
    RCPtr<EventSink<int>> last;
    Connect("first", [&] {
        Connect("added", m_once);
        EXPECT_TRUE(m_source.RemoveSink(last.Get()));
        EXPECT_FALSE(m_source.RemoveSink(last.Get()));
        return false;
    });
    Connect("stays");
    m_source.AddSink(Connect("twice", m_once));
    last = Connect("last");
    EXPECT_EQ(Fire(1), "first1 stays1 twice1 twice1 last1 ");
    EXPECT_EQ(Fire(2), "stays2 added2 ");
    EXPECT_EQ(Fire(3), "stays3 ");
}

TEST_F(EventSourceTest, SkipsAnOwnerThatIsDestroyed) {
    struct Owner : RCObject {
        void Add(const int& value) { sum += value; }
        int sum = 0;
    };
    RCPtr<Owner> owner(new Owner);
    m_source.Connect(WeakPtr<Owner>(owner), [](Owner& self, int) { return ++self.sum < 1; });
    const RCPtr<EventSink<int>> last = m_source.Connect(owner, &Owner::Add);
    Fire(4);
    Fire(1);
    EXPECT_EQ(owner->sum, 6);
    owner = nullptr;
    Fire(1);
    EXPECT_FALSE(m_source.RemoveSink(last.Get()));
}

TEST_F(EventSourceTest, AScopedConnectionEndsEvenForTheFiringInProgress) {
    ScopedConnection scoped = EventSource<int>().ConnectScoped([](int) {});
    Connect("first", [&] {
        scoped = ScopedConnection();
        return true;
    });
    scoped = m_source.ConnectScoped([&](int) { m_calls += "scoped "; });
    ScopedConnection own;
    own = m_source.ConnectScoped([&](int) {
        m_calls += "own ";
        own.Disconnect();
    });
    EXPECT_EQ(Fire(1), "first1 own ");
    EXPECT_EQ(Fire(2), "first2 ");
}

TEST_F(EventSourceTest, DisconnectWaitsForACallOnAnotherThread) {
    Event isCalled(Event::ManualReset);
    bool hasReturned = false;
    ScopedConnection connection = m_source.ConnectScoped([&](int) {
        isCalled.Set(true);
        for (int round = 0; round < 1000; ++round) {
            std::this_thread::yield();
        }
        hasReturned = true;
    });
    const std::jthread firing([&] { m_source.Fire(1); });
    isCalled.Wait(-1);
    connection.Disconnect();
    EXPECT_TRUE(hasReturned);
}

TEST_F(EventSourceTest, DestroysASinkWithNoLockHeld) {
    struct Leaver {
        ~Leaver() {
            std::thread([] { EventSource<int>().Connect([](int) {}); }).join();
        }
    };
    m_source.Connect([leaver = std::make_shared<Leaver>()](int) { return false; });
    m_source.Fire(1);
}

TEST_F(EventSourceTest, FiresAndChangesOnManyThreadsAtOnce) {
    constexpr int rounds = 5000;
    std::atomic<int> calls{0};
    m_source.Connect([&](int) { ++calls; });
    const auto fire = [&] {
        for (int i = 0; i < rounds; ++i) {
            m_source.Fire(i);
        }
    };
    {
        const std::jthread changer([&](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                m_source.RemoveSink(m_source.Connect([](int) {}).Get());
                m_source.Connect([](int) { return false; });
            }
        });
        const std::jthread firing(fire);
        fire();
    }
    EXPECT_EQ(calls, 2 * rounds);
}

}  // namespace
}  // namespace zel
