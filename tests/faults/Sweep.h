#pragma once

#include "tests/support/AllocationWatch.h"
#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

// Runs a scenario repeatedly, failing a later allocation each time, until a run has none left to
// fail. In one pass only that allocation fails, in the other all later ones fail too. A change
// either takes effect as a whole or leaves the state as it was; nothing leaks, and a second attempt
// succeeds.
namespace zel::test {

// Too long for the small-string optimization.
inline const std::string LONG(60, 'x');

struct Trial {
    std::function<bool()> change;  // false or std::bad_alloc if memory ran out
    std::function<std::string()> state;
};

struct Scenario {
    std::string name;
    std::function<Trial()> begin;
};

// A scenario of the object that `make` returns, a change of it, and its state as text.
template <class Make, class Change, class State>
Scenario On(std::string name, Make make, Change change, State state) {
    return {std::move(name), [=] {
                const auto object = std::make_shared<decltype(make())>(make());
                const auto changeObject = [=] {
                    if constexpr (std::is_void_v<decltype(change(*object))>) {
                        change(*object);
                        return true;
                    } else {
                        return change(*object);
                    }
                };
                return Trial{changeObject, [=] { return state(*object); }};
            }};
}

inline bool Change(const Trial& trial) {
    try {
        return trial.change();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Fails the allocation after `step` others. Returns true if there was none to fail.
inline bool PassesStep(const Scenario& scenario, long step, bool onlyOne,
                       const std::string& expected) {
    const long heldBefore = CountBlocksHeld();
    bool hasFailed = false;
    {
        const Trial trial = scenario.begin();
        const std::string before = trial.state();
        FailAllocationsAfter(step, onlyOne);
        const bool isDone = Change(trial);
        hasFailed = FailAllocationsAfter(-1);
        EXPECT_EQ(trial.state(), isDone ? expected : before) << "after " << step << " allocations";
        EXPECT_TRUE(isDone || Change(trial)) << "second attempt";
        EXPECT_EQ(trial.state(), expected) << "after " << step << " allocations, second attempt";
    }
    EXPECT_EQ(CountBlocksHeld(), heldBefore) << "leak after " << step << " allocations";
    return !hasFailed;
}

class DiscardingLogSink : public LogSink {
    void Write(const LogRecord&) override {}
};

inline void Sweep(const std::vector<Scenario>& scenarios) {
    // At level 6 every log message is formatted.
    const LoggerScope<DiscardingLogSink> scope(6);
    scope.logger->SetAreaLevel("Variant", 6);
    for (const Scenario& scenario : scenarios) {
        SCOPED_TRACE(scenario.name);
        const Trial undisturbed = scenario.begin();
        ASSERT_TRUE(Change(undisturbed));
        const std::string expected = undisturbed.state();
        for (const bool onlyOne : {false, true}) {
            long step = 0;
            while (!PassesStep(scenario, step, onlyOne, expected) && !testing::Test::HasFailure()) {
                ++step;
            }
        }
    }
}

}  // namespace zel::test
