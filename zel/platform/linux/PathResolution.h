#pragma once

#include <functional>
#include <optional>
#include <string>

namespace zel::platform {

// Resolves a path like the kernel does, link by link, and calls `onLookup` with each directory
// before a name is looked up in it. Returns the path without links, or nothing if it doesn't exist.
std::optional<std::string> ResolvePath(
    const std::string& path,
    const std::function<void(const std::string& directory, const std::string& name)>& onLookup);

}  // namespace zel::platform
