#pragma once

#include <cstddef>
#include <ostream>
#include <streambuf>

namespace zel {

// Writes few bytes at a time as std::ostream::write does, and faster: a stream that is good, has
// room in its buffer and nothing to flush gets them with no call.
class PutArea : private std::streambuf {
public:
    // Writes all bytes of the array, without adding a zero or taking one for an end.
    template <std::size_t size>
    static void Write(std::ostream& out, const char (&bytes)[size]) {
        std::ios& state = out;
        if (!HasNothingToFlush(state) || !TryPut(*state.rdbuf(), bytes)) {
            out.write(bytes, size);
        }
    }

private:
    static bool HasNothingToFlush(const std::ios& state) {
        return state.good() && state.tie() == nullptr &&
               (state.flags() & std::ios_base::unitbuf) == 0;
    }

    // The members are protected; a pointer to one of them, formed in a derived class, works on
    // every buffer.
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
