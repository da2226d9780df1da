#include "zel/variant/Variant.h"

#include "bench/support/Comparison.h"
#include "bench/variant/Numbers.h"

#include <charconv>

namespace zel::bench {

namespace {

constexpr std::size_t COUNT = 1000;

template <class T>
std::string TextOf(const std::vector<T>& numbers) {
    constexpr std::size_t longest = 32;
    char text[COUNT * longest];
    char* end = text;
    for (const T number : numbers) {
        if (end != text) {
            *end++ = VariantBase::STRING_VECTOR_SEPARATOR;
        }
        end = std::to_chars(end, text + sizeof text, number).ptr;
    }
    return {text, end};
}

template <class T>
std::vector<T> NumbersOf(const std::string& text) {
    std::vector<T> numbers;
    numbers.reserve(COUNT);
    const char* const end = text.data() + text.size();
    for (const char* next = text.data(); next < end; ++next) {
        T number{};
        next = std::from_chars(next, end, number).ptr;
        numbers.push_back(number);
    }
    return numbers;
}

template <class T>
void WriteVariant(benchmark::State& state) {
    const std::vector<T> numbers = MakeNumbers<T>(COUNT);
    const RCPtr<VariantBase> variant(new Variant<std::vector<T>>(numbers));
    Require(variant->WriteValueToString(false) == TextOf(numbers), "both write the same");
    for (auto _ : state) {
        const std::string text = variant->WriteValueToString(false);
        benchmark::DoNotOptimize(text.data());
    }
}

template <class T>
void WriteBare(benchmark::State& state) {
    const std::vector<T> numbers = MakeNumbers<T>(COUNT);
    for (auto _ : state) {
        const std::string text = TextOf(numbers);
        benchmark::DoNotOptimize(text.data());
    }
}

template <class T>
void ReadVariant(benchmark::State& state) {
    const std::vector<T> numbers = MakeNumbers<T>(COUNT);
    const std::string text = TextOf(numbers);
    Variant<std::vector<T>> variant;
    for (auto _ : state) {
        variant.ReadValueFromString(text, false);
        benchmark::DoNotOptimize(variant.GetValue().data());
    }
    Require(variant.GetValue() == numbers, "the numbers read equal those written");
}

template <class T>
void ReadBare(benchmark::State& state) {
    const std::vector<T> numbers = MakeNumbers<T>(COUNT);
    const std::string text = TextOf(numbers);
    std::vector<T> read;
    for (auto _ : state) {
        read = NumbersOf<T>(text);
        benchmark::DoNotOptimize(read.data());
    }
    Require(read == numbers, "the numbers read equal those written");
}

template <class T>
Comparison Write(const std::string& type) {
    return {"write 1000 " + type + " as text",
            {{Side::OURS, WriteVariant<T>}, {"std::to_chars", WriteBare<T>, 1.15}}};
}

template <class T>
Comparison Read(const std::string& type) {
    return {"read 1000 " + type + " from text",
            {{Side::OURS, ReadVariant<T>}, {"std::from_chars", ReadBare<T>, 1.15}}};
}

const Comparison s_writeU8 = Write<unsigned char>("U8");
const Comparison s_writeS32 = Write<int>("S32");
const Comparison s_writeD64 = Write<double>("D64");
const Comparison s_readU8 = Read<unsigned char>("U8");
const Comparison s_readS32 = Read<int>("S32");
const Comparison s_readD64 = Read<double>("D64");

}  // namespace

}  // namespace zel::bench
