#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zel {

// A few bytes of a text that are compared at once. `Find` returns one set bit for each byte that
// equals the character, in the order of the bytes from the lowest bit.
#ifdef __SSE2__
class TextBlock {
public:
    using Bits = unsigned int;
    static constexpr std::size_t SIZE = sizeof(__m128i);
    static constexpr int BITS_PER_BYTE = 1;

    explicit TextBlock(const char* bytes) { std::memcpy(&m_bytes, bytes, SIZE); }

    Bits Find(char character) const {
        const __m128i isEqual = _mm_cmpeq_epi8(m_bytes, _mm_set1_epi8(character));
        return static_cast<Bits>(_mm_movemask_epi8(isEqual));
    }

private:
    __m128i m_bytes;
};
#else
class TextBlock {
public:
    using Bits = std::uint64_t;
    static constexpr std::size_t SIZE = sizeof(Bits);
    static constexpr int BITS_PER_BYTE = 8;

    explicit TextBlock(const char* bytes) {
        std::memcpy(&m_bytes, bytes, SIZE);
        if constexpr (std::endian::native == std::endian::big) {
            m_bytes = __builtin_bswap64(m_bytes);
        }
    }

    Bits Find(char character) const {
        const Bits difference = m_bytes ^ static_cast<unsigned char>(character) * EACH;
        const Bits areOther = ((difference & ~HIGH_BITS) + ~HIGH_BITS) | difference;
        return ~areOther & HIGH_BITS;
    }

private:
    static constexpr Bits EACH = 0x0101'0101'0101'0101;
    static constexpr Bits HIGH_BITS = 0x80 * EACH;

    Bits m_bytes = 0;
};
#endif

// Set of the characters that separate cells; none of them is the zero byte.
class SeparatorSet {
public:
    explicit SeparatorSet(std::string characters) : m_characters(std::move(characters)) {}

    // Returns the separators in the first block of a text, which may be shorter than a block.
    TextBlock::Bits FindInBlock(std::string_view text) const {
        if (text.size() >= TextBlock::SIZE) {
            return Find(TextBlock(text.data()));
        }
        char padded[TextBlock::SIZE] = {};
        text.copy(padded, text.size());
        return Find(TextBlock(padded));
    }

private:
    TextBlock::Bits Find(TextBlock block) const {
        TextBlock::Bits found = 0;
        for (const char character : m_characters) {
            found |= block.Find(character);
        }
        return found;
    }

    const std::string m_characters;
};

// Visits the separators of a line in order.
class SeparatorCursor {
public:
    SeparatorCursor(const SeparatorSet& separators, std::string_view line)
        : m_separators(separators), m_rest(line), m_bits(separators.FindInBlock(line)) {}

    // Returns the next separator, or the end of the line.
    const char* Peek() {
        while (m_bits == 0) {
            if (m_rest.size() <= TextBlock::SIZE) {
                return m_rest.data() + m_rest.size();
            }
            m_rest.remove_prefix(TextBlock::SIZE);
            m_bits = m_separators.FindInBlock(m_rest);
        }
        return m_rest.data() + std::countr_zero(m_bits) / TextBlock::BITS_PER_BYTE;
    }

    // Advances past the separator that `Peek` has returned.
    void Advance() { m_bits &= m_bits - 1; }

private:
    const SeparatorSet& m_separators;
    // From the block that is visited.
    std::string_view m_rest;
    // The separators of the block that are still to be visited.
    TextBlock::Bits m_bits;
};

}  // namespace zel
