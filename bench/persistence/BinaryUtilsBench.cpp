#include "zel/persistence/BinaryUtils.h"

#include "bench/support/Comparison.h"

#include <sstream>
#include <stdexcept>

namespace zel::bench {

namespace {

// A pair is a field of two bytes and one of one byte.
constexpr std::size_t PAIRS = 500'000;
constexpr std::size_t PAIR_BYTES = 3;

class Packer {
public:
    explicit Packer(std::ostream& out) : m_packer(&out, false) {}

    void Insert(unsigned short value) { m_packer.Insert(value); }
    void Insert(unsigned char value) { m_packer.Insert(value); }

private:
    BinaryUtils::DataPacker m_packer;
};

class BufferWriter {
public:
    explicit BufferWriter(std::ostream& out) : m_buffer(*out.rdbuf()) {}

    void Insert(unsigned short value) {
        m_buffer.sputc(static_cast<char>(value >> 8));
        m_buffer.sputc(static_cast<char>(value));
    }

    void Insert(unsigned char value) { m_buffer.sputc(static_cast<char>(value)); }

private:
    std::streambuf& m_buffer;
};

template <class Kind>
void Pack(benchmark::State& state) {
    std::stringstream stream(std::string(PAIRS * PAIR_BYTES, ' '));
    for (auto _ : state) {
        stream.seekp(0);
        Kind kind(stream);
        for (std::size_t i = 0; i < PAIRS; ++i) {
            kind.Insert(static_cast<unsigned short>(i));
            kind.Insert(static_cast<unsigned char>(i));
        }
    }
    const std::string text = stream.str();
    Require(text.size() == PAIRS * PAIR_BYTES && text.substr(3, 3) == std::string("\0\1\1", 3),
            "all fields are written");
}

class Unpacker {
public:
    explicit Unpacker(const std::string& data) : m_unpacker(data, false) {}

    void Extract(unsigned short* value) { m_unpacker.Extract(value); }
    void Extract(unsigned char* value) { m_unpacker.Extract(value); }

private:
    BinaryUtils::DataUnpacker m_unpacker;
};

class BlockReader {
public:
    explicit BlockReader(const std::string& data)
        : m_next(data.data()), m_end(m_next + data.size()) {}

    void Extract(unsigned short* value) {
        Require(m_end - m_next >= 2);
        *value = static_cast<unsigned short>(Byte(0) << 8 | Byte(1));
        m_next += 2;
    }

    void Extract(unsigned char* value) {
        Require(m_end - m_next >= 1);
        *value = Byte(0);
        m_next += 1;
    }

private:
    static void Require(bool condition) {
        if (!condition) {
            throw std::runtime_error("the block is too short");
        }
    }

    unsigned char Byte(std::size_t position) const {
        return static_cast<unsigned char>(m_next[position]);
    }

    const char* m_next;
    const char* m_end;
};

template <class Kind>
void Unpack(benchmark::State& state) {
    const std::string data(PAIRS * PAIR_BYTES, '\1');
    for (auto _ : state) {
        Kind kind(data);
        unsigned int sum = 0;
        for (std::size_t i = 0; i < PAIRS; ++i) {
            unsigned short wide = 0;
            unsigned char narrow = 0;
            kind.Extract(&wide);
            kind.Extract(&narrow);
            sum += wide + 0U + narrow;
        }
        benchmark::DoNotOptimize(sum);
    }
}

constexpr const char* PACK = "pack 1,000,000 fields";
constexpr const char* UNPACK = "unpack 1,000,000 fields";
const Comparison s_pack(PACK, {{Side::OURS, Pack<Packer>}, {"sputc", Pack<BufferWriter>, 1.5}});
const Comparison s_unpack(UNPACK, {{Side::OURS, Unpack<Unpacker>},
                                   {"a pointer and its end", Unpack<BlockReader>, 1.5}});

}  // namespace

}  // namespace zel::bench
