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

const Rows::ReadPeer<Absl> s_read("getline, absl::StrSplit", 0.75);

}  // namespace

}  // namespace zel::bench
