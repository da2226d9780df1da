#pragma once

#include "zel/core/Export.h"

#include <cstddef>
#include <istream>
#include <string_view>

namespace zel {

// Reads bytes from the buffer of a stream, or from a text in memory, and knows line and column. It
// is what the readers of text formats stand on: no formatted input, a run of bytes at a time.
//
//     StreamScanner scanner(in);
//     scanner.SkipWhite();
//     if (scanner.Peek() == '[') { scanner.Get(); ... }
//
// While a scanner lives, the stream is its own; what the scanner hasn't taken is in the stream
// again once it has gone. The stream's state follows as with its own unformatted input: looking at
// the end sets eofbit, taking from it failbit as well; a stream that isn't good to begin with has
// no bytes. An exception of the stream's buffer sets badbit, and passes on if the stream is asked
// to throw then.
class ZEL_CORE_API StreamScanner {
public:
    // What Peek and Get give behind the last byte.
    static constexpr int End = -1;

    // A place in the input.
    struct Position {
        std::size_t line;    // from 1
        std::size_t column;  // from 1, in bytes
    };

    // Begins at the stream's next byte, or at the first of a text, which outlives the scanner.
    explicit StreamScanner(std::istream& in);
    explicit StreamScanner(std::string_view text) noexcept;
    ~StreamScanner();
    StreamScanner(const StreamScanner&) = delete;
    StreamScanner& operator=(const StreamScanner&) = delete;

    // The next byte as 0 to 255, or End; it stays where it is.
    int Peek() { return m_next != m_end || Refill() ? static_cast<unsigned char>(*m_next) : End; }

    // The same, and the byte is taken.
    int Get() {
        if (m_next != m_end || Refill()) {
            return static_cast<unsigned char>(*m_next++);
        }
        TakeEnd();
        return End;
    }

    // The bytes at hand, at least one unless the input has ended. They stay good until the next
    // call.
    std::string_view GetRun() {
        if (m_next == m_end) {
            Refill();
        }
        return {m_next, static_cast<std::size_t>(m_end - m_next)};
    }

    // Takes the first `count` bytes of the run.
    void Skip(std::size_t count) noexcept { m_next += count; }

    // Takes all white space up to the next other byte.
    void SkipWhite() {
        while (m_next != m_end || Refill()) {
            if (!IsWhite(*m_next)) {
                return;
            }
            ++m_next;
        }
    }

    // The place of the next byte, counted from where the scanner began.
    Position GetPosition() const noexcept { return PositionOf(m_next); }

    // Straight after a Get: the place of the byte that it gave, or of the end if it gave that.
    Position GetPositionOfLast() const noexcept {
        return PositionOf(m_next == m_begin || m_hasTakenEnd ? m_next : m_next - 1);
    }

    // The six characters of the C locale, whatever the locale.
    static constexpr bool IsWhite(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

private:
    bool Refill();
    bool Underflow();

    // Takes out of the stream's buffer what was taken here.
    void Commit();
    void TakeEnd();

    // True if the stream is asked to throw.
    bool SetBad();
    Position PositionOf(const char* byte) const noexcept;

    std::istream* m_in = nullptr;
    bool m_ended = false;
    bool m_hasTakenEnd = false;
    // A buffer without a get area gives its bytes one by one.
    bool m_isUnbuffered = false;
    char m_byte = 0;
    const char* m_begin = nullptr;
    const char* m_next = nullptr;
    const char* m_end = nullptr;
    Position m_beginPosition{1, 1};
};

}  // namespace zel
