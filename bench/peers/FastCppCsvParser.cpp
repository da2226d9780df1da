#include "bench/data/RowsBench.h"

#define CSV_IO_NO_THREAD
#include <array>
#include <csv.h>

namespace zel::bench {

namespace {

struct FastCppCsvParser {
    using Table = PlainRows;

    static Table Read(const std::string& path) {
        // This reader counts an additional cell after the trailing comma.
        io::CSVReader<RowsFile::CELLS + 1> in(path);
        Table table;
        std::array<char*, RowsFile::CELLS + 1> cell;
        while (std::apply([&in](auto&... cells) { return in.read_row(cells...); }, cell)) {
            table.emplace_back(cell.begin(), cell.end() - 1);
        }
        return table;
    }

    static std::size_t CountRows(const Table& table) { return table.size(); }
};

const Rows::ReadPeer<FastCppCsvParser> s_read("fast-cpp-csv-parser", 0.85);

}  // namespace

}  // namespace zel::bench
