#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace zel::platform {

/// Replaces a file as a whole. The content is written to a temporary file in the same directory,
/// which `Commit` renames to the path. Before that, and after any failure, the old file is
/// unchanged. Mode and, if permitted, owner and group of the old file are kept; links are followed,
/// also to a file that is missing.
///
/// Not thread-safe.
class FileReplacement {
public:
    /// Creates the temporary file.
    explicit FileReplacement(const std::string& path);

    /// Removes the temporary file unless it was committed.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Appends to the new content. Returns false after a failure, of an earlier call too.
    bool Write(std::string_view text) noexcept;

    /// Waits until the content is stored and renames the file. Returns the system's error number of
    /// the first failure, or 0.
    int Commit() noexcept;

private:
    struct State;
    const std::unique_ptr<State> m_state;
};

}  // namespace zel::platform
