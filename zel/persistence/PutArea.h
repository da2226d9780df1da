#pragma once

#include "zel/foundation/StandardStreambuf.h"

#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <typeinfo>

namespace zel {

/// Writes a few bytes with the effect of `std::ostream::write`, but without a function call if the
/// stream is good, its buffer is one of the standard library or of `MemOS` and has free space, and
/// nothing must be flushed. Part of the implementation of `BinaryUtils::DataPacker`. Not
/// thread-safe.
///
/// Guide: docs/stored-objects.md
class PutArea {
public:
    /// Writes to `out`, which must outlive this object.
    explicit PutArea(std::ostream& out) noexcept : m_out(&out), m_state(&out) {}

    /// Writes all bytes of the array, zero bytes included.
    template <std::size_t size>
    void Write(const char (&bytes)[size]) {
        // A user-defined buffer may override xsputn, which must see every write.
        if (!HasNothingToFlush() || !HasStandardBuffer() ||
            !Area::TryPut(*m_state->rdbuf(), bytes)) {
            m_out->write(bytes, size);
        }
    }

    /// Writes a text.
    void Write(std::string_view text) {
        m_out->write(text.data(), static_cast<std::streamsize>(text.size()));
    }

private:
    // The members are protected, but a member pointer formed in a derived class applies to any
    // buffer.
    struct Area : std::streambuf {
        template <std::size_t size>
        static bool TryPut(std::streambuf& buffer, const char (&bytes)[size]) {
            char* const next = (buffer.*&Area::pptr)();
            if ((buffer.*&Area::epptr)() - next < static_cast<std::ptrdiff_t>(size)) {
                return false;
            }
            for (std::size_t i = 0; i < size; ++i) {
                next[i] = bytes[i];
            }
            (buffer.*&Area::pbump)(static_cast<int>(size));
            return true;
        }
    };

    bool HasNothingToFlush() const {
        return m_state->good() && m_state->tie() == nullptr &&
               (m_state->flags() & std::ios_base::unitbuf) == 0;
    }

    // The stream's buffer may be replaced between two writes.
    bool HasStandardBuffer() {
        const std::streambuf& buffer = *m_state->rdbuf();
        const std::type_info* const type = &typeid(buffer);
        if (type != m_standardType && IsStandardStreambuf(buffer)) {
            m_standardType = type;
        }
        return type == m_standardType;
    }

    std::ostream* m_out;
    // The virtual base class of the stream; converting to it takes as long as a write.
    const std::ios* m_state;
    // The type last recognised as that of a standard buffer, or null.
    const std::type_info* m_standardType = nullptr;
};

}  // namespace zel
