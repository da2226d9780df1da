#include "bench/watch/Tree.h"

#include "bench/support/Comparison.h"

#include <cstdlib>
#include <fstream>
#include <string>

namespace zel::bench {

namespace fs = std::filesystem;

namespace {

void Fill(const fs::path& directory, int levels) {
    constexpr int children = 10;
    constexpr std::size_t filesInEach = Trees::FILES / 1'000;
    for (int i = 0; levels > 0 && i < children; ++i) {
        const fs::path child = directory / ("directory" + std::to_string(i));
        fs::create_directory(child);
        Fill(child, levels - 1);
    }
    for (std::size_t i = 0; levels == 0 && i < filesInEach; ++i) {
        std::ofstream(directory / ("measurement" + std::to_string(i) + ".dat"));
    }
}

class LargeFolder : public Folder {
public:
    LargeFolder() { Fill(GetPath(), 3); }
};

}  // namespace

Folder::Folder() {
    std::string name = fs::temp_directory_path() / "zel_bench_XXXXXX";
    Require(::mkdtemp(name.data()) != nullptr, "a temporary directory is created");
    m_path = name;
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

const fs::path& LargeTree() {
    static const LargeFolder s_folder;
    return s_folder.GetPath();
}

}  // namespace zel::bench
