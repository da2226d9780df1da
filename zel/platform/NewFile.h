#pragma once

#include <string>
#include <string_view>

namespace zel::platform {

/// Creates a file that only its owner may read and write, writes the text and waits until file and
/// directory entry are stored. Returns the system's error number, 0 on success; `fileExists` is set
/// if the path is taken, by a link too. What exists isn't changed.
int WriteNewFile(const std::string& path, std::string_view text, bool& fileExists);

}  // namespace zel::platform
