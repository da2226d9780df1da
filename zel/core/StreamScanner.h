#pragma once

#include "zel/core/Export.h"

#include <cstddef>
#include <cstring>
#include <istream>
#include <string_view>

namespace zel {

/// Reads bytes directly from the buffer of a stream, or from a text in memory, and tracks line and
/// column. The readers of text formats are built on it.
///
///     StreamScanner scanner(in);
///     scanner.SkipWhite();
///     if (scanner.Peek() == '[') { scanner.Get(); ... }
///
/// The scanner has exclusive use of the stream until it is destroyed; the stream then continues
/// with the first byte that the scanner has not consumed. The state of the stream is set as by its
/// own unformatted input functions:
///
/// | Case | Effect on the stream |
/// |---|---|
/// | `Peek` or `GetRun` at the end of the input | sets `eofbit` |
/// | `Get` at the end of the input | sets `eofbit` and `failbit` |
/// | the stream isn't good at construction | sets `failbit`; the input is empty |
/// | the stream's buffer throws | sets `badbit` and ends the input; rethrows if `exceptions()` says so |
///
/// Not thread-safe.
///
/// Guide: docs/core.md
class ZEL_CORE_API StreamScanner {
public:
    /// Returned by `Peek` and `Get` at the end of the input.
    static constexpr int End = -1;

    /// A position in the input.
    struct Position {
        std::size_t line;    ///< From 1.
        std::size_t column;  ///< From 1, in bytes.
    };

    /// Starts at the next byte of the stream.
    explicit StreamScanner(std::istream& in);

    /// Starts at the first byte of `text`, which must outlive the scanner.
    explicit StreamScanner(std::string_view text) noexcept;
    ~StreamScanner();
    StreamScanner(const StreamScanner&) = delete;
    StreamScanner& operator=(const StreamScanner&) = delete;

    /// Returns the next byte (0 to 255) without consuming it, or `End`.
    int Peek() { return m_next != m_end || Refill() ? static_cast<unsigned char>(*m_next) : End; }

    /// Returns and consumes the next byte (0 to 255), or returns `End`.
    int Get() {
        if (m_next != m_end || Refill()) {
            return static_cast<unsigned char>(*m_next++);
        }
        TakeEnd();
        return End;
    }

    /// Returns the buffered bytes without consuming them; empty only at the end of the input. The
    /// view is valid until the next call that reads.
    std::string_view GetRun() {
        if (m_next == m_end) {
            Refill();
        }
        return {m_next, static_cast<std::size_t>(m_end - m_next)};
    }

    /// Consumes the first `count` bytes of the run.
    void Skip(std::size_t count) noexcept { m_next += count; }

    /// Consumes white space up to the next other byte.
    void SkipWhite() {
        while (m_next != m_end || Refill()) {
            if (!IsWhite(*m_next)) {
                return;
            }
            ++m_next;
        }
    }

    /// Returns the position of the next byte, relative to where the scanner started.
    Position GetPosition() const noexcept { return PositionOf(m_next); }

    /// Returns the line of `GetPosition`. The time of all calls together is that of one pass over
    /// the input, so that every item of a text can be given its line.
    std::size_t GetLine() noexcept {
        for (; m_counted != m_next; ++m_counted) {
            const auto left = static_cast<std::size_t>(m_next - m_counted);
            const void* const feed = std::memchr(m_counted, '\n', left);
            if (feed == nullptr) {
                m_counted = m_next;
                break;
            }
            m_counted = static_cast<const char*>(feed);
            ++m_line;
        }
        return m_line;
    }

    /// Returns the position of the byte returned by the last `Get`, or of the end of the input if
    /// it returned `End`. Requires: `Get` was the last call that read.
    Position GetPositionOfLast() const noexcept {
        return PositionOf(m_next == m_begin || m_hasTakenEnd ? m_next : m_next - 1);
    }

    /// Returns true for the six white-space characters of the C locale, independent of the current
    /// locale.
    static constexpr bool IsWhite(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

private:
    bool Refill();
    bool Underflow();

    // Removes the consumed bytes from the stream's buffer.
    void Commit();
    void TakeEnd();

    // Returns true if the stream is set to throw on badbit.
    bool SetBad();
    Position PositionOf(const char* byte) const noexcept;

    std::istream* m_in = nullptr;
    bool m_ended = false;
    bool m_hasTakenEnd = false;
    // True if the stream's buffer has no get area and yields one byte at a time.
    bool m_isUnbuffered = false;
    char m_byte = 0;
    const char* m_begin = nullptr;
    const char* m_next = nullptr;
    const char* m_end = nullptr;
    Position m_beginPosition{1, 1};
    // The line of the byte up to which `GetLine` has counted.
    std::size_t m_line = 1;
    const char* m_counted = nullptr;
};

}  // namespace zel
