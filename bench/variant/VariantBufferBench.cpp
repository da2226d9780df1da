#include "zel/variant/Variant.h"

#include "bench/support/Comparison.h"
#include "bench/variant/ByteSwap.h"
#include "bench/variant/Numbers.h"

#include <cstring>

namespace zel::bench {

namespace {

template <class T>
class Ours {
public:
    explicit Ours(const std::vector<T>& numbers) : m_variant(numbers) {}

    void Write(std::vector<T>& buffer) {
        unsigned long long bytes = buffer.size() * sizeof(T);
        m_variant.WriteValueToBuffer(buffer.data(), bytes, false);
    }

    void Read(std::vector<T>& buffer) {
        unsigned long long bytes = buffer.size() * sizeof(T);
        m_variant.ReadValueFromBuffer(buffer.data(), bytes, false);
    }

    const std::vector<T>& Get() const { return m_variant.GetValue(); }

private:
    Variant<std::vector<T>> m_variant;
};

template <class T>
void Swap(const std::vector<T>& from, std::vector<T>& to) {
    if constexpr (sizeof(T) == 1) {
        std::memcpy(to.data(), from.data(), from.size());
    } else {
        SwapBytes(from.data(), to.data(), from.size());
    }
}

// Reads into a new vector.
template <class T>
class Loop {
public:
    explicit Loop(const std::vector<T>& numbers) : m_numbers(numbers) {}

    void Write(std::vector<T>& buffer) { Swap(m_numbers, buffer); }

    void Read(std::vector<T>& buffer) {
        std::vector<T> numbers(m_numbers.size());
        Swap(buffer, numbers);
        m_numbers = std::move(numbers);
    }

    const std::vector<T>& Get() const { return m_numbers; }

protected:
    std::vector<T> m_numbers;
};

// Reads into the array that is there, as a variant does if its array has room for the numbers.
template <class T>
class LoopInPlace : public Loop<T> {
public:
    using Loop<T>::Loop;

    void Read(std::vector<T>& buffer) { Swap(buffer, this->m_numbers); }
};

template <class Kind, class T, std::size_t count>
void Write(benchmark::State& state) {
    const std::vector<T> numbers = MakeNumbers<T>(count);
    Kind kind(numbers);
    std::vector<T> buffer(count);
    for (auto _ : state) {
        kind.Write(buffer);
        benchmark::ClobberMemory();
    }
    Loop<T> check(numbers);
    check.Read(buffer);
    Require(check.Get() == numbers, "the written bytes can be read");
}

template <class Kind, class T, std::size_t count>
void Read(benchmark::State& state) {
    const std::vector<T> numbers = MakeNumbers<T>(count);
    std::vector<T> buffer(count);
    Loop<T>(numbers).Write(buffer);
    Kind kind((std::vector<T>(count)));
    for (auto _ : state) {
        kind.Read(buffer);
        benchmark::DoNotOptimize(kind.Get().data());
        benchmark::ClobberMemory();
    }
    Require(kind.Get() == numbers, "the numbers read equal those written");
}

template <class T>
std::string NameOfLoop() {
    return sizeof(T) == 1 ? "memcpy" : "AVX2 loop";
}

template <class T, std::size_t count>
Comparison WriteMany(const std::string& what, double aim) {
    return {
        "write " + what + " to a buffer",
        {{Side::OURS, Write<Ours<T>, T, count>}, {NameOfLoop<T>(), Write<Loop<T>, T, count>, aim}}};
}

template <class T, std::size_t count>
Comparison ReadMany(const std::string& what, double aim) {
    return {"read " + what + " from a buffer",
            {{Side::OURS, Read<Ours<T>, T, count>},
             {NameOfLoop<T>() + ", in place", Read<LoopInPlace<T>, T, count>, aim},
             {NameOfLoop<T>() + ", new vector", Read<Loop<T>, T, count>}}};
}

constexpr std::size_t MANY = 1000;
constexpr std::size_t MILLION = 1'000'000;

const Comparison s_write1000[] = {WriteMany<unsigned char, MANY>("1000 U8", 1.3),
                                  WriteMany<unsigned short, MANY>("1000 U16", 1.3),
                                  WriteMany<int, MANY>("1000 S32", 1.3),
                                  WriteMany<double, MANY>("1000 D64", 1.3)};

const Comparison s_writeMillion[] = {WriteMany<unsigned char, MILLION>("1,000,000 U8", 1.1),
                                     WriteMany<unsigned short, MILLION>("1,000,000 U16", 1.1),
                                     WriteMany<int, MILLION>("1,000,000 S32", 1.1),
                                     WriteMany<double, MILLION>("1,000,000 D64", 1.1)};

const Comparison s_read1000[] = {
    ReadMany<unsigned char, MANY>("1000 U8", 1.3), ReadMany<unsigned short, MANY>("1000 U16", 1.3),
    ReadMany<int, MANY>("1000 S32", 1.3), ReadMany<double, MANY>("1000 D64", 1.3)};

const Comparison s_readMillion[] = {ReadMany<unsigned char, MILLION>("1,000,000 U8", 1.1),
                                    ReadMany<unsigned short, MILLION>("1,000,000 U16", 1.1),
                                    ReadMany<int, MILLION>("1,000,000 S32", 1.1),
                                    ReadMany<double, MILLION>("1,000,000 D64", 1.1)};

}  // namespace

}  // namespace zel::bench
