#pragma once

#include "zel/core/Logger.h"

#include "tests/support/AllocationWatch.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

// Scenarios that run again and again, each time with one allocation more ahead of the one that
// fails, alone or with all behind it, up to the run that nothing fails in. A change is made or not
// made, and nothing in between; nothing leaks, and the thing can be used as before.
namespace zel::test {

// Too long for any string to hold in itself.
inline const std::string LONG(60, 'x');

// A thing in a state that a text tells, and a change of it: true if it was made, false or
// std::bad_alloc if memory ran out.
struct Trial {
    std::function<bool()> change;
    std::function<std::string()> state;
};

struct Scenario {
    std::string name;
    std::function<Trial()> begin;
};

// What is made, what is done to it, and what tells its state.
template <class Make, class Change, class State>
Scenario On(std::string name, Make make, Change change, State state) {
    return {std::move(name), [=] {
                const auto held = std::make_shared<decltype(make())>(make());
                const auto changeIt = [=] {
                    if constexpr (std::is_void_v<decltype(change(*held))>) {
                        change(*held);
                        return true;
                    } else {
                        return change(*held);
                    }
                };
                return Trial{changeIt, [=] { return state(*held); }};
            }};
}

inline bool Change(const Trial& trial) {
    try {
        return trial.change();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Lets the request behind `step` others fail. True if there was none.
inline bool PassesStep(const Scenario& scenario, long step, bool onlyOne,
                       const std::string& expected) {
    const long heldBefore = CountBlocksHeld();
    const std::size_t refusalsBefore = CountRefusals();
    {
        const Trial trial = scenario.begin();
        const std::string before = trial.state();
        FailAllocationsAfter(step, onlyOne);
        const bool isDone = Change(trial);
        FailAllocationsAfter(-1);
        EXPECT_EQ(trial.state(), isDone ? expected : before) << "with " << step << " allocations";
        EXPECT_TRUE(isDone || Change(trial));
        EXPECT_EQ(trial.state(), expected) << "after " << step << " allocations and a new try";
    }
    EXPECT_EQ(CountBlocksHeld(), heldBefore) << "leak after " << step << " allocations";
    return CountRefusals() == refusalsBefore;
}

// Every message that there is to log is made.
class LoggingScope {
public:
    LoggingScope() {
        constexpr int everything = 6;
        m_logger->SetGlobalLogLevel(everything);
        m_logger->SetAreaLevel("Variant", everything);
        m_logger->AddSink(new NoSink);
        m_logger->Start();
        Logger::SetInstance(m_logger);
    }

    ~LoggingScope() { Logger::SetInstance(nullptr); }
    LoggingScope(const LoggingScope&) = delete;
    LoggingScope& operator=(const LoggingScope&) = delete;

private:
    class NoSink : public LogSink {
        void Write(const LogRecord&) override {}
    };

    const RCPtr<Logger> m_logger{new Logger};
};

inline void Sweep(const std::vector<Scenario>& scenarios) {
    const LoggingScope logging;
    for (const Scenario& scenario : scenarios) {
        SCOPED_TRACE(scenario.name);
        const Trial unhurt = scenario.begin();
        ASSERT_TRUE(Change(unhurt));
        const std::string expected = unhurt.state();
        for (const bool onlyOne : {false, true}) {
            long step = 0;
            while (!PassesStep(scenario, step, onlyOne, expected) && !testing::Test::HasFailure()) {
                ++step;
            }
        }
    }
}

}  // namespace zel::test
