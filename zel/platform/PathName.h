#pragma once

namespace zel::platform {

// The name behind the directories of a path, which is a part of it; all of it if it has none. For
// the handler of a fault, which can't ask for memory as FileUtils does.
const char* FileOfPath(const char* path) noexcept;

}  // namespace zel::platform
