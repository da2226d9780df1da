#pragma once

#include "zel/core/Export.h"

#include <cstddef>
#include <istream>
#include <string>

/// Helper functions for paths and for reading text streams.
///
/// Thread-safe; a stream must be used by one thread at a time.
///
/// Guide: docs/core.md
namespace zel::FileUtils {

/// Returns the part of `path` after the last directory separator; all of it if there is none.
ZEL_CORE_API std::string GetFileFromPath(const std::string& path);

/// Skips white space (the six characters of the C locale).
ZEL_CORE_API void EatWhite(std::istream& in);

/// Reads a line into `buffer`, which has `size` bytes including the terminating zero. The line feed
/// is removed unless `keepLineFeed` is true. A last line without a line feed is a line.
///
/// Returns false at the end of the input, with an empty text in `buffer`. A line may contain zero
/// bytes: the second form stores its length in `*length`.
///
/// Throws Exception, whose message contains the limit, if the line doesn't fit. `buffer` then holds
/// the beginning of the line, and the next byte read from `in` is the first one that didn't fit.
///@{
ZEL_CORE_API bool ReadLine(std::istream& in, char* buffer, std::size_t size,
                           bool keepLineFeed = false);
ZEL_CORE_API bool ReadLine(std::istream& in, char* buffer, std::size_t size, std::size_t* length,
                           bool keepLineFeed);
///@}

}  // namespace zel::FileUtils
