#pragma once

#include "tests/support/AllocationWatch.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

// Scenarios that run again and again, each time with one allocation more before memory is out, up
// to the run that nothing fails in. A change is made or not made, and nothing in between; nothing
// leaks, and the thing can be used as before.
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

template <class Thing, class Change, class State>
Trial On(Thing thing, Change change, State state) {
    const auto held = std::make_shared<Thing>(std::move(thing));
    return {[=] {
                if constexpr (std::is_void_v<decltype(change(*held))>) {
                    change(*held);
                    return true;
                } else {
                    return change(*held);
                }
            },
            [=] { return state(*held); }};
}

inline bool Change(const Trial& trial) {
    try {
        return trial.change();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Lets every request from the `step`th on fail. True if none was made.
inline bool PassesStep(const Scenario& scenario, long step, const std::string& expected) {
    const long heldBefore = CountBlocksHeld();
    const std::size_t refusalsBefore = CountRefusals();
    {
        const Trial trial = scenario.begin();
        const std::string before = trial.state();
        FailAllocationsAfter(step);
        const bool isDone = Change(trial);
        FailAllocationsAfter(-1);
        EXPECT_EQ(trial.state(), isDone ? expected : before) << "with " << step << " allocations";
        EXPECT_TRUE(isDone || Change(trial));
        EXPECT_EQ(trial.state(), expected) << "after " << step << " allocations and a new try";
    }
    EXPECT_EQ(CountBlocksHeld(), heldBefore) << "leak after " << step << " allocations";
    return CountRefusals() == refusalsBefore;
}

inline void Sweep(const std::vector<Scenario>& scenarios) {
    for (const Scenario& scenario : scenarios) {
        SCOPED_TRACE(scenario.name);
        const Trial unhurt = scenario.begin();
        ASSERT_TRUE(Change(unhurt));
        const std::string expected = unhurt.state();
        long step = 0;
        while (!PassesStep(scenario, step, expected) && !testing::Test::HasFailure()) {
            ++step;
        }
    }
}

// What a stream holds, unless it tells by its state that it doesn't hold all.
inline bool TakeText(std::ostringstream& out, std::string& text) {
    if (out.good()) {
        text = out.str();
    }
    return out.good();
}

// Changes that bring something about beside what is there: at first an empty text.
inline Scenario OfText(std::string name, std::function<bool(std::string&)> make) {
    return {std::move(name), [make = std::move(make)] {
                return On(std::string(), make, [](const std::string& text) { return text; });
            }};
}

}  // namespace zel::test
