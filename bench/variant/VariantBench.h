#pragma once

#include "bench/support/Comparison.h"

#include <string>

namespace zel::bench {

// Comparisons of variants. A `Holder` has Set(const In&) and Get(Out*).
namespace Variants {

struct Int {
    using In = int;
    using Out = int;
    static constexpr const char* NAME = "set and get an int";
    static In Sample() { return 1'234'567; }
};

struct IntAsDouble {
    using In = int;
    using Out = double;
    static constexpr const char* NAME = "int into and out of a double";
    static In Sample() { return 1'234'567; }
};

struct String {
    using In = std::string;
    using Out = std::string;
    static constexpr const char* NAME = "set and get a string of 42 characters";
    static In Sample() { return "a text of forty-two characters, not short."; }
};

inline constexpr const char* INT_AS_TEXT = "int from text and to text";

// `Text` is the string class of the holder's library.
template <class Text>
struct IntAsText {
    using In = Text;
    using Out = Text;
    static In Sample() { return "1234567"; }
};

inline constexpr const char* COMPARE = "compare two ints";

}  // namespace Variants

template <class Task, class Holder>
void SetAndGet(benchmark::State& state) {
    Holder holder;
    auto in = Task::Sample();
    typename Task::Out out{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(in);
        holder.Set(in);
        holder.Get(&out);
        benchmark::DoNotOptimize(out);
    }
    Require(out == in, "the value read equals the value set");
}

template <class Compare>
void CompareEqual(benchmark::State& state, Compare compare) {
    bool isEqual = true;
    for (auto _ : state) {
        benchmark::ClobberMemory();
        isEqual = compare() && isEqual;
    }
    Require(isEqual, "equal values compare equal");
}

}  // namespace zel::bench
