#pragma once

#include <cstddef>
#include <ostream>
#include <string>

namespace zel {

// Hands text to a stream in blocks, as a stream is slow at single bytes and a file at small blocks.
class BlockWriter {
public:
    explicit BlockWriter(std::ostream& out) : m_out(out) { m_text.reserve(2 * BLOCK); }

    // What the next characters are put behind.
    std::string& GetText() noexcept { return m_text; }

    // Called after each item, so that memory doesn't grow with their number.
    void EndItem() {
        if (m_text.size() >= BLOCK) {
            Flush();
        }
    }

    // Called behind the last item; it flushes this writer, not the stream.
    void Flush() {
        m_out.write(m_text.data(), static_cast<std::streamsize>(m_text.size()));
        m_text.clear();
    }

private:
    static constexpr std::size_t BLOCK = 16'384;

    std::ostream& m_out;
    std::string m_text;
};

}  // namespace zel
