#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

// Helpers of the fuzz targets. A target is one source file that defines Run, and checks with
// Require what the headers guarantee for arbitrary input.
namespace zel::fuzz {

// One input. A target takes its parameters from the front and parses the rest. The bytes end at the
// end of their heap block, so that the address sanitizer detects an overrun.
class Input {
public:
    explicit Input(std::string_view bytes) noexcept : m_rest(bytes) {}

    // Removes and returns the next byte, or returns 0 at the end.
    unsigned TakeByte() noexcept {
        if (m_rest.empty()) {
            return 0;
        }
        const auto byte = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return byte;
    }

    // Removes the next line with its line feed and returns it without.
    std::string_view TakeLine() noexcept {
        const std::string_view line = m_rest.substr(0, m_rest.find('\n'));
        m_rest.remove_prefix(std::min(line.size() + 1, m_rest.size()));
        return line;
    }

    std::string_view GetRest() const noexcept { return m_rest; }

private:
    std::string_view m_rest;
};

// Defined by each target.
void Run(Input input);

inline void Require(bool holds, const char* promise) {
    if (!holds) {
        std::fprintf(stderr, "\nbroken promise: %s\n", promise);
        std::abort();
    }
}

// Returns the result of `read`, or nothing if it throws `Refusal`.
template <class Refusal, class Read>
auto Try(Read read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const Refusal&) {
        return std::nullopt;
    }
}

// A stream that delivers at most `piece` bytes at a time, to exercise every buffer boundary.
class PieceStream : private std::streambuf, public std::istream {
public:
    PieceStream(std::string_view bytes, std::size_t piece)
        : std::istream(static_cast<std::streambuf*>(this)), m_rest(bytes), m_piece(piece) {}

    std::size_t GetLeft() const {
        return m_rest.size() + static_cast<std::size_t>(egptr() - gptr());
    }

private:
    int_type underflow() override {
        if (m_rest.empty()) {
            return traits_type::eof();
        }
        m_block = m_rest.substr(0, m_piece);
        m_rest.remove_prefix(m_block.size());
        setg(m_block.data(), m_block.data(), m_block.data() + m_block.size());
        return traits_type::to_int_type(m_block.front());
    }

    std::string_view m_rest;
    std::string m_block;
    std::size_t m_piece;
};

}  // namespace zel::fuzz
