#include "zel/foundation/EventSource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>

namespace zel {
namespace {

class EventSourceTest : public testing::Test {
protected:
    // A sink that notes its name and gives what `stays` gives.
    RCPtr<EventSink<int>> Connect(
        const std::string& name, std::function<bool()> stays = [] { return true; }) {
        return m_source.Connect([=, this](const int& value) {
            m_calls += name + std::to_string(value) + ' ';
            return stays();
        });
    }

    RCPtr<EventSink<int>> ConnectOnce(const std::string& name) {
        return Connect(name, [] { return false; });
    }

    std::string Fire(int value) {
        m_calls.clear();
        m_source.Fire(value);
        return m_calls;
    }

    EventSource<int> m_source;
    std::string m_calls;
};

TEST_F(EventSourceTest, CallsSinksInOrderUntilTheyAskToGo) {
    EXPECT_EQ(Fire(0), "");
    Connect("a");
    ConnectOnce("b");
    ConnectOnce("c");
    const RCPtr<EventSink<int>> d = Connect("d");
    EXPECT_EQ(Fire(1), "a1 b1 c1 d1 ");
    EXPECT_EQ(Fire(2), "a2 d2 ");
    EXPECT_TRUE(m_source.RemoveSink(d.Get()));
    EXPECT_FALSE(m_source.RemoveSink(d.Get()));
    EXPECT_EQ(Fire(3), "a3 ");
}

TEST_F(EventSourceTest, EndsOneSubscriptionAtATimeOfASinkThatHasTwo) {
    m_source.AddSink(ConnectOnce("twice"));
    EXPECT_EQ(Fire(1), "twice1 twice1 ");
    EXPECT_EQ(Fire(2), "");
}

TEST_F(EventSourceTest, AChangeDuringAFiringShowsFromTheNextOneOn) {
    RCPtr<EventSink<int>> last;
    Connect("first", [&] {
        Connect("added");
        m_source.RemoveSink(last.Get());
        return false;
    });
    last = Connect("last");
    EXPECT_EQ(Fire(1), "first1 last1 ");
    EXPECT_EQ(Fire(2), "added2 ");
}

TEST_F(EventSourceTest, AnExceptionEndsTheFiringAndNothingElse) {
    Connect("a");
    Connect("thrower", []() -> bool { throw std::runtime_error("sink"); });
    Connect("behind");
    EXPECT_THROW(Fire(1), std::runtime_error);
    EXPECT_EQ(m_calls, "a1 thrower1 ");
    EXPECT_THROW(Fire(2), std::runtime_error);
    EXPECT_EQ(m_calls, "a2 thrower2 ");
}

TEST_F(EventSourceTest, DestroysASinkWithNoLockHeld) {
    class Leaver : public EventSink<int> {
    public:
        explicit Leaver(bool& isFree) : m_isFree(isFree) {}
        ~Leaver() override {
            std::thread([&] {
                EventSource<int> other;
                other.Connect([](const int&) {});
                m_isFree = true;
            }).join();
        }
        bool OnEvent(const int&) override { return false; }

    private:
        bool& m_isFree;
    };
    bool isFree = false;
    m_source.AddSink(new Leaver(isFree));
    m_source.Fire(1);
    EXPECT_TRUE(isFree);
}

TEST(EventSourceThreadsTest, FiresAndChangesOnManyThreadsAtOnce) {
    EventSource<std::string> source;
    std::atomic<int> steady{0};
    std::atomic<bool> stop{false};
    source.Connect([&](const std::string&) { ++steady; });
    std::thread changer([&] {
        while (!stop) {
            source.RemoveSink(source.Connect([](const std::string&) {}).Get());
            source.Connect([](const std::string&) { return false; });
        }
    });
    constexpr int rounds = 5000;
    const auto fire = [&] {
        for (int i = 0; i < rounds; ++i) {
            source.Fire("word");
        }
    };
    std::thread firing(fire);
    fire();
    firing.join();
    stop = true;
    changer.join();
    EXPECT_EQ(steady, 2 * rounds);
}

}  // namespace
}  // namespace zel
