#pragma once

#include <functional>
#include <iosfwd>
#include <string>

namespace zel {

// Replaces a file by what `write` writes to a stream. The old file is unchanged until the new one
// is stored. Returns the reason of a failure, or an empty text.
std::string SaveFile(const std::string& path, const std::function<void(std::ostream&)>& write);

}  // namespace zel
