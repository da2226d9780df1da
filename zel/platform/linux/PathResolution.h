#pragma once

#include <functional>
#include <optional>
#include <string>

namespace zel::platform {

// Goes the way that the system goes from a path to what it names, link by link, and calls `onStep`
// with each directory just before a name is looked up in it. Gives the path without links, or
// nothing if there is no such file at the moment.
std::optional<std::string> FollowPath(
    const std::string& path,
    const std::function<void(const std::string& directory, const std::string& name)>& onStep);

}  // namespace zel::platform
