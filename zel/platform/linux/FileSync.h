#pragma once

#include <string>
#include <string_view>

namespace zel::platform {

// Writes the whole text. Returns the error number, or 0.
int WriteAll(int file, std::string_view text) noexcept;

// Returns the path of the directory of an entry.
std::string DirectoryOf(const std::string& path);

// Waits until the entries of a directory are stored, if its file system can do so.
void SyncDirectory(const std::string& directory) noexcept;

}  // namespace zel::platform
