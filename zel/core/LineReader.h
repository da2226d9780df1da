#pragma once

#include "zel/core/StreamScanner.h"

#include <cstddef>
#include <istream>
#include <string_view>

namespace zel {

/// Reads lines from a stream. A line is copied only if it isn't contiguous in the stream's own
/// buffer.
///
///     char block[4096];
///     LineReader reader(in, block, sizeof block);
///     while (reader.Read(&line) == LineReader::Result::Line) { ... }
///
/// The reader has exclusive use of the stream until it is destroyed; the stream then continues
/// after the last line read. The stream's state bits are set as by StreamScanner. Not thread-safe.
///
/// Guide: docs/core.md
class ZEL_CORE_API LineReader {
public:
    /// The result of a `Read`.
    enum class Result {
        Line,     ///< A line was read.
        End,      ///< The input has ended.
        TooLong,  ///< The line is longer than the limit.
    };

    /// Reads lines of at most `limit` bytes. `block` has `limit` bytes and must outlive the reader.
    LineReader(std::istream& in, char* block, std::size_t limit)
        : m_scanner(in), m_block(block), m_limit(limit) {}

    /// Reads the next line, with its line feed if `keepLineFeed` is true. A last line without a
    /// line feed is a line; zero bytes are kept. `*line` is valid until the next call.
    ///
    /// At the end of the input `*line` is empty. If the line is too long, `*line` is its first
    /// `limit` bytes, and the next call continues with the byte after them.
    Result Read(std::string_view* line, bool keepLineFeed = false);

private:
    StreamScanner m_scanner;
    char* m_block;
    std::size_t m_limit;
};

}  // namespace zel
