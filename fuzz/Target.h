#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

// What the fuzz targets share. A target is one source that defines Run, and asserts by Require what
// the headers promise for any bytes whatever.
namespace zel::fuzz {

// One input. What a target has to choose comes from its front, and the rest is what is read; the
// bytes end where their block ends, so that a step beyond is noticed.
class Input {
public:
    explicit Input(std::string_view bytes) noexcept : m_rest(bytes) {}

    // The next byte, 0 behind the end.
    unsigned TakeByte() noexcept {
        if (m_rest.empty()) {
            return 0;
        }
        const auto byte = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return byte;
    }

    // What stands ahead of the next line feed, which is taken too.
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

// What `read` gives, or nothing if it raises the exception that it may raise.
template <class Refusal, class Read>
auto Try(Read read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const Refusal&) {
        return std::nullopt;
    }
}

// A stream that hands over its bytes a few at a time, so that every border of a buffer is met.
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
