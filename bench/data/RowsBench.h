#pragma once

#include "bench/data/RowsFile.h"
#include "bench/support/Comparison.h"

#include <fstream>

// Comparisons of reading and writing a file of delimited text. A `Kind` has a type Table, and Read,
// Write and CountRows for it.
namespace zel::bench::Rows {

inline const std::string READ_SMALL = "read a file of 100 rows of 10 cells";
inline const std::string READ_LARGE = "read a file of 100,000 rows of 10 cells";
inline const std::string WRITE_SMALL = "write a file of 100 rows of 10 cells";
inline const std::string WRITE_LARGE = "write a file of 100,000 rows of 10 cells";

constexpr std::size_t SMALL = 100;
constexpr std::size_t LARGE = 100'000;

template <class Kind, std::size_t rows>
void ReadFile(benchmark::State& state) {
    const RowsFile file(rows);
    for (auto _ : state) {
        const typename Kind::Table table = Kind::Read(file.GetPath());
        Require(Kind::CountRows(table) == rows, "all rows are read");
    }
}

template <class Kind, std::size_t rows>
void WriteFile(benchmark::State& state) {
    const RowsFile file(rows);
    const RowsFile target(0);
    const typename Kind::Table table = Kind::Read(file.GetPath());
    for (auto _ : state) {
        std::ofstream out(target.GetPath());
        Kind::Write(table, out);
    }
    Require(file.GetText() == target.GetText(), "the written file equals the input");
}

// Registers a peer's reader.
template <class Kind>
class ReadPeer {
public:
    ReadPeer(const std::string& name, double aim)
        : m_small(READ_SMALL, {{name, ReadFile<Kind, SMALL>, aim}}),
          m_large(READ_LARGE, {{name, ReadFile<Kind, LARGE>, aim}}) {}

private:
    Comparison m_small;
    Comparison m_large;
};

}  // namespace zel::bench::Rows
