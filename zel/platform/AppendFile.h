#pragma once

#include <string>
#include <string_view>

namespace zel::platform {

// Appends to whatever file a path names at the moment: when the file that was opened has been
// renamed or removed, the next Append begins a new one. Each Append goes out as one write, so that
// lines of several processes don't mix. Not for several threads at once.
class AppendFile {
public:
    explicit AppendFile(std::string path);
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    // False if there is no open file, at the start or after a failed reopening.
    bool IsOpen() const noexcept;

    // False if the text couldn't be written whole.
    bool Append(std::string_view text) noexcept;

private:
    bool PathNamesOpenFile() const noexcept;
    void Open() noexcept;
    void Close() noexcept;

    const std::string m_path;
    int m_descriptor = -1;
};

}  // namespace zel::platform
