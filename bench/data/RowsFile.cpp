#include "bench/data/RowsFile.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace zel::bench {

RowsFile::RowsFile(std::size_t rows) {
    constexpr const char* cells[] = {
        "0",   "17",     "1013.25", "north",    "2023-11-22",
        "yes", "46.948", "Zurich",  "22:30:00", "Jungfraujoch 3571 m asl"};
    std::random_device seed;
    m_path = std::filesystem::temp_directory_path() / ("rows" + std::to_string(seed()) + ".csv");
    std::ofstream out(m_path);
    std::mt19937 random(100);
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t cell = 0; cell < CELLS; ++cell) {
            out << cells[random() % std::size(cells)] << ',';
        }
        out << '\n';
    }
}

RowsFile::~RowsFile() {
    std::remove(m_path.c_str());
}

std::string RowsFile::GetText() const {
    std::ifstream in(m_path);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace zel::bench
