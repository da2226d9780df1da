#pragma once

#include <cstddef>
#include <ostream>
#include <string>

namespace zel {

// Collects text and writes it to a stream in blocks, as writing single bytes to a stream and small
// blocks to a file is slow.
class BlockWriter {
public:
    explicit BlockWriter(std::ostream& out) : m_out(out) { m_text.reserve(2 * BLOCK); }

    // Returns the pending text, to which the caller appends.
    std::string& GetText() noexcept { return m_text; }

    // Called after each item to limit the size of the pending text.
    void EndItem() {
        if (m_text.size() >= BLOCK) {
            Flush();
        }
    }

    // Called after the last item. Doesn't flush the stream.
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
