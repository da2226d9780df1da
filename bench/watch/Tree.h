#pragma once

#include <cstddef>
#include <filesystem>

namespace zel::bench {

// A directory of its own, for the time of the object.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path& GetPath() const { return m_path; }

private:
    std::filesystem::path m_path;
};

namespace Trees {
inline constexpr std::size_t FILES = 100'000;
inline constexpr std::size_t DIRECTORIES = 1'110;
}  // namespace Trees

// A tree of that many directories, ten in each of them on three levels, and files spread over the
// lowest thousand. It is made at the first call and goes with the program.
const std::filesystem::path& LargeTree();

}  // namespace zel::bench
