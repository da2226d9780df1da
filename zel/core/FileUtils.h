#pragma once

#include "zel/core/Export.h"

#include <cstddef>
#include <istream>
#include <string>

// Small helpers for paths and for the reading of text streams.
namespace zel::FileUtils {

// The name behind the directories of a path; the whole path if it has none.
ZEL_CORE_API std::string GetFileFromPath(const std::string& path);

// Takes white space (the six characters of the C locale) up to the next other byte.
ZEL_CORE_API void EatWhite(std::istream& in);

// Reads a line into `buffer`, which holds `size` bytes, the terminating zero included, and drops or
// keeps its line feed. A last line without a line feed is a line too. False at the end of the
// input, with an empty text in the buffer. A line that doesn't fit raises Exception, whose message
// names the limit; the buffer holds its beginning then, and the stream stands at the first byte
// that found no place. A zero byte stays in its line: only `length` tells where that ends.
ZEL_CORE_API bool ReadLine(std::istream& in, char* buffer, std::size_t size,
                           bool keepLineFeed = false);
ZEL_CORE_API bool ReadLine(std::istream& in, char* buffer, std::size_t size, std::size_t* length,
                           bool keepLineFeed);

}  // namespace zel::FileUtils
