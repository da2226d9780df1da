#pragma once

#include "zel/foundation/MemOSStreambuf.h"

#include <fstream>
#include <sstream>
#include <streambuf>
#include <typeinfo>

namespace zel {

/// Returns whether the type of the buffer is `std::stringbuf`, `std::filebuf` or MemOSStreambuf,
/// and not a class derived from one of them that a program defines. Compares addresses of
/// `type_info` objects for speed; if a type has several, the result may be false. Not thread-safe.
///
/// Guide: docs/foundation.md
inline bool IsStandardStreambuf(const std::streambuf& buffer) {
    const std::type_info* const type = &typeid(buffer);
    return type == &typeid(std::stringbuf) || type == &typeid(std::filebuf) ||
           type == &typeid(MemOSStreambuf);
}

}  // namespace zel
