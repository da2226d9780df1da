#pragma once

#include <cstddef>
#include <filesystem>

namespace zel::bench {

// A temporary directory, removed with the object.
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

// Returns a tree of DIRECTORIES directories, ten in each on three levels, with the files in the
// lowest thousand. Created by the first call and removed at the end of the program.
const std::filesystem::path& LargeTree();

}  // namespace zel::bench
