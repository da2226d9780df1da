#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace zel::test {

// A new directory, removed with its content at the end of the scope.
class TemporaryFolder {
public:
    explicit TemporaryFolder(
        const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
        std::random_device random;
        do {
            m_path = parent / ("zel_" + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }

    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

}  // namespace zel::test
