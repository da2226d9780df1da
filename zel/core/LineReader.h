#pragma once

#include "zel/core/StreamScanner.h"

#include <cstddef>
#include <istream>
#include <string_view>

namespace zel {

// Takes lines from a stream, and copies only those that don't lie in the stream's own buffer whole.
//
//     char block[4096];
//     LineReader reader(in, block, sizeof block);
//     while (reader.Read(&line) == LineReader::Result::Line) { ... }
//
// While a reader lives, the stream is its own; what it hasn't taken is in the stream again once it
// has gone. The stream's state follows as with StreamScanner.
class ZEL_CORE_API LineReader {
public:
    // What a Read came to.
    enum class Result { Line, End, TooLong };

    // `block`, which outlives the reader, holds `limit` bytes: the longest line that is taken.
    LineReader(std::istream& in, char* block, std::size_t limit)
        : m_scanner(in), m_block(block), m_limit(limit) {}

    // The next line, zero bytes and all, with or without its line feed. A last line without a line
    // feed is a line too. `line` stays good until the next call; it is empty at the end of the
    // input, and the beginning of a line that is too long, whose first byte behind that is the
    // next to be read.
    Result Read(std::string_view* line, bool keepLineFeed = false);

private:
    StreamScanner m_scanner;
    char* m_block;
    std::size_t m_limit;
};

}  // namespace zel
