#include "zel/variant/Variant.h"

#include "bench/variant/Numbers.h"
#include "bench/variant/VariantBench.h"

#include <cstring>
#include <mutex>

namespace zel::bench {

namespace {

constexpr std::size_t COUNT = 1000;

template <class T>
void CompareVariants(benchmark::State& state) {
    using Array = Variant<std::vector<T>>;
    const RCPtr<VariantBase> left(new Array(MakeNumbers<T>(COUNT)));
    const RCPtr<VariantBase> right(new Array(MakeNumbers<T>(COUNT)));
    CompareEqual(state, [&] { return left->IsEqual(right, true, false, true); });
}

template <class T>
bool HaveSameBytes(const std::vector<T>& left, const std::vector<T>& right) {
    return std::memcmp(left.data(), right.data(), left.size() * sizeof(T)) == 0;
}

template <class T>
void CompareBytes(benchmark::State& state) {
    const std::vector<T> left = MakeNumbers<T>(COUNT);
    const std::vector<T> right = left;
    benchmark::DoNotOptimize(left.data());
    benchmark::DoNotOptimize(right.data());
    CompareEqual(state, [&] { return HaveSameBytes(left, right); });
}

// The minimum cost without holding two locks at once.
template <class T>
void CopyAndCompareBytes(benchmark::State& state) {
    const std::vector<T> left = MakeNumbers<T>(COUNT);
    const std::vector<T> right = left;
    benchmark::DoNotOptimize(left.data());
    benchmark::DoNotOptimize(right.data());
    CompareEqual(state, [&] { return HaveSameBytes(left, std::vector<T>(right)); });
}

template <class T>
Comparison Compare(const std::string& type) {
    return {"compare two arrays of 1000 " + type,
            {{Side::OURS, CompareVariants<T>},
             {"memcmp", CompareBytes<T>, 1.5},
             {"copy, memcmp", CopyAndCompareBytes<T>}}};
}

constexpr int LONG = 80'000;

template <class Array>
void AppendEach(benchmark::State& state) {
    for (auto _ : state) {
        Array array;
        for (int i = 0; i < LONG; ++i) {
            array.Append(i);
        }
        benchmark::DoNotOptimize(array);
    }
}

class Appended {
public:
    void Append(int number) { m_variant.AppendElement(number); }

private:
    Variant<std::vector<int>> m_variant;
};

class LockedVector {
public:
    void Append(int number) {
        const std::lock_guard lock(m_mutex);
        m_numbers.push_back(number);
    }

private:
    std::recursive_mutex m_mutex;
    std::vector<int> m_numbers;
};

const Comparison s_append = {
    "append 80,000 S32 one by one",
    {{Side::OURS, AppendEach<Appended>}, {"under recursive_mutex", AppendEach<LockedVector>, 1.0}}};
const Comparison s_bytes = Compare<unsigned char>("U8");
const Comparison s_ints = Compare<int>("S32");

}  // namespace

}  // namespace zel::bench
