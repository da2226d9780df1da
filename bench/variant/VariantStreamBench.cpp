#include "zel/variant/Variant.h"

#include "bench/support/Comparison.h"
#include "bench/variant/ByteSwap.h"
#include "bench/variant/Numbers.h"

#include <algorithm>
#include <sstream>

namespace zel::bench {

namespace {

using Number = int;
using Numbers = std::vector<Number>;

constexpr std::size_t BLOCK = 4096;

class Ours {
public:
    explicit Ours(const Numbers& numbers = {}) : m_variant(numbers) {}

    void Write(std::ostream& out) { m_variant.WriteValueToStream(out); }
    void Read(std::istream& in) { m_variant.ReadValueFromStream(in); }
    const Numbers& Get() const { return m_variant.GetValue(); }

private:
    Variant<Numbers> m_variant;
};

class Blocks {
public:
    explicit Blocks(const Numbers& numbers = {}) : m_numbers(numbers) {}

    void Write(std::ostream& out) {
        unsigned long long count = m_numbers.size();
        SwapBytes(&count, &count, 1);
        out.write(reinterpret_cast<const char*>(&count), sizeof count);
        Number block[BLOCK];
        for (std::size_t done = 0; done < m_numbers.size(); done += BLOCK) {
            const std::size_t size = std::min(BLOCK, m_numbers.size() - done);
            SwapBytes(&m_numbers[done], block, size);
            out.write(reinterpret_cast<const char*>(block), SizeOf(size));
        }
    }

    void Read(std::istream& in) {
        unsigned long long count = 0;
        in.read(reinterpret_cast<char*>(&count), sizeof count);
        SwapBytes(&count, &count, 1);
        Numbers numbers(count);
        for (std::size_t done = 0; done < count; done += BLOCK) {
            const std::size_t size = std::min<std::size_t>(BLOCK, count - done);
            in.read(reinterpret_cast<char*>(&numbers[done]), SizeOf(size));
            SwapBytes(&numbers[done], &numbers[done], size);
        }
        m_numbers = std::move(numbers);
    }

    const Numbers& Get() const { return m_numbers; }

private:
    static std::streamsize SizeOf(std::size_t numbers) {
        return static_cast<std::streamsize>(numbers * sizeof(Number));
    }

    Numbers m_numbers;
};

template <class Kind, std::size_t count>
void Write(benchmark::State& state) {
    const Numbers numbers = MakeNumbers<Number>(count);
    Kind kind(numbers);
    std::stringstream stream;
    for (auto _ : state) {
        stream.seekp(0);
        kind.Write(stream);
    }
    Blocks check;
    check.Read(stream);
    Require(check.Get() == numbers, "the written bytes can be read");
}

template <class Kind, std::size_t count>
void Read(benchmark::State& state) {
    const Numbers numbers = MakeNumbers<Number>(count);
    std::stringstream stream;
    Blocks(numbers).Write(stream);
    Kind kind;
    for (auto _ : state) {
        stream.seekg(0);
        kind.Read(stream);
    }
    Require(kind.Get() == numbers, "the numbers read equal those written");
}

template <std::size_t count>
Comparison WriteMany(const std::string& text, double aim) {
    return {"write " + text + " S32 to a stream",
            {{Side::OURS, Write<Ours, count>}, {"blocks of 4096", Write<Blocks, count>, aim}}};
}

template <std::size_t count>
Comparison ReadMany(const std::string& text, double aim) {
    return {"read " + text + " S32 from a stream",
            {{Side::OURS, Read<Ours, count>}, {"blocks of 4096", Read<Blocks, count>, aim}}};
}

const Comparison s_write16 = WriteMany<16>("16", 1.5);
const Comparison s_write1000 = WriteMany<1000>("1000", 1.3);
const Comparison s_writeMillion = WriteMany<1'000'000>("1,000,000", 1.1);
const Comparison s_read16 = ReadMany<16>("16", 1.5);
const Comparison s_read1000 = ReadMany<1000>("1000", 1.3);
const Comparison s_readMillion = ReadMany<1'000'000>("1,000,000", 1.1);

}  // namespace

}  // namespace zel::bench
