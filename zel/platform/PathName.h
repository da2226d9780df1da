#pragma once

namespace zel::platform {

/// Returns the part of `path` after its last separator, all of it if it has none. Allocates
/// nothing, so that the handler of a fault can call it.
const char* FileOfPath(const char* path) noexcept;

}  // namespace zel::platform
