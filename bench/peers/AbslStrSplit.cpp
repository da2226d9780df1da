#include "bench/data/RowsBench.h"

#include <absl/strings/str_split.h>

namespace zel::bench {

namespace {

struct Absl {
    using Table = PlainRows;

    static Table Read(const std::string& path) {
        std::ifstream in(path);
        Table table;
        std::string line;
        while (std::getline(in, line)) {
            line.pop_back();
            table.emplace_back(absl::StrSplit(line, ','));
        }
        return table;
    }

    static std::size_t CountRows(const Table& table) { return table.size(); }
};

using namespace Rows;

const Side s_small{"getline, absl::StrSplit", ReadFile<Absl, SMALL>, 0.75};
const Side s_large{"getline, absl::StrSplit", ReadFile<Absl, LARGE>, 0.75};
const Comparison s_readSmall(READ_SMALL, {s_small});
const Comparison s_readLarge(READ_LARGE, {s_large});

}  // namespace

}  // namespace zel::bench
