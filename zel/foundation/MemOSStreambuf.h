#pragma once

#include "zel/foundation/Export.h"

#include <cstddef>
#include <streambuf>

namespace zel {

/// The stream buffer of a MemOS. The first 512 characters are stored in the object itself; a longer
/// text is moved to a heap block, whose size is doubled as needed. Not thread-safe.
///
/// Guide: docs/foundation.md
class ZEL_ADVANCED_API MemOSStreambuf : public std::streambuf {
public:
    /// Makes an empty buffer.
    MemOSStreambuf() noexcept;
    ~MemOSStreambuf() override;
    MemOSStreambuf(const MemOSStreambuf&) = delete;
    MemOSStreambuf& operator=(const MemOSStreambuf&) = delete;

    /// Returns the text written so far, zero-terminated and valid until the next write.
    const char* GetData() noexcept {
        *pptr() = '\0';
        return m_buffer;
    }

    /// Returns the number of characters written so far.
    int GetLength() const noexcept { return static_cast<int>(pptr() - m_buffer); }

    /// Returns where `count` characters can be written directly, or null if they don't fit without
    /// growing. `Advance` then commits them.
    char* GetRoom(std::size_t count) noexcept {
        return count <= static_cast<std::size_t>(epptr() - pptr()) ? pptr() : nullptr;
    }

    /// Commits characters that were written to the result of `GetRoom`. Requires: `count` is not
    /// greater than the count passed to `GetRoom`.
    void Advance(std::size_t count) noexcept { pbump(static_cast<int>(count)); }

    /// Returns true if the stream of this buffer has the classic locale.
    bool HasClassicLocale() const noexcept { return m_hasClassicLocale; }

protected:
    /// Records whether the new locale is the classic one.
    void imbue(const std::locale& locale) override;

    /// Makes the text written so far available for reading.
    int_type underflow() override;

    /// Doubles the capacity and appends `ch`. Throws `std::bad_alloc`, with the text unchanged, if
    /// memory is exhausted or an `int` can't hold the new capacity.
    int_type overflow(int_type ch) override;

private:
    static constexpr int INLINE_CAPACITY = 512;

    void FreeBlock() noexcept;

    // One byte longer than the capacity, for the terminating zero.
    char* m_buffer = m_inline;
    char m_inline[INLINE_CAPACITY + 1];
    int m_capacity = INLINE_CAPACITY;
    bool m_hasClassicLocale = true;
};

}  // namespace zel
