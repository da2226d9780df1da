#pragma once

#include "zel/foundation/StandardStreambuf.h"

#include <cstddef>
#include <ostream>
#include <streambuf>

namespace zel {

/// Writes a few bytes with the effect of `std::ostream::write`, but without a function call if the
/// stream is good, its buffer is one of the standard library or of `MemOS` and has free space, and
/// nothing must be flushed. Part of the
/// implementation of `BinaryUtils::DataPacker`.
///
/// Guide: docs/stored-objects.md
class PutArea : private std::streambuf {
public:
    /// Writes all bytes of the array, zero bytes included.
    template <std::size_t size>
    static void Write(std::ostream& out, const char (&bytes)[size]) {
        std::ios& state = out;
        // A user-defined buffer may override xsputn, which must see every write.
        if (!HasNothingToFlush(state) || !IsStandardStreambuf(*state.rdbuf()) ||
            !TryPut(*state.rdbuf(), bytes)) {
            out.write(bytes, size);
        }
    }

private:
    static bool HasNothingToFlush(const std::ios& state) {
        return state.good() && state.tie() == nullptr &&
               (state.flags() & std::ios_base::unitbuf) == 0;
    }

    // The members are protected, but a member pointer formed in a derived class applies to any
    // buffer.
    template <std::size_t size>
    static bool TryPut(std::streambuf& buffer, const char (&bytes)[size]) {
        char* const next = (buffer.*&PutArea::pptr)();
        if ((buffer.*&PutArea::epptr)() - next < static_cast<std::ptrdiff_t>(size)) {
            return false;
        }
        for (std::size_t i = 0; i < size; ++i) {
            next[i] = bytes[i];
        }
        (buffer.*&PutArea::pbump)(static_cast<int>(size));
        return true;
    }
};

}  // namespace zel
