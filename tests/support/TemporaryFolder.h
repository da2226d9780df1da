#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace zel::test {

// A new directory, removed with its content at the end of the scope.
class TemporaryFolder {
public:
    explicit TemporaryFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::string name = parent / "zel_XXXXXX";
        m_path = ::mkdtemp(name.data());
    }

    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

}  // namespace zel::test
