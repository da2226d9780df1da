#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zel::platform {

/// Appends to the file that a path currently names: after the opened file has been renamed or
/// removed, the next `Append` starts a new one. Each `Append` is one write, so that lines of
/// several processes don't mix. Each system implements this.
///
/// Not thread-safe.
class AppendFile {
public:
    explicit AppendFile(std::string path);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    /// Returns false if opening failed, at the start or after a rotation.
    bool IsOpen() const noexcept;

    /// Returns the size of the file that the path names; 0 if there is none.
    std::uint64_t GetSize() const noexcept;

    /// Returns false if the text wasn't written completely.
    bool Append(std::string_view text) noexcept;

private:
    struct Body;
    const std::unique_ptr<Body> m_body;
};

}  // namespace zel::platform
