#include "zel/data/DataTable.h"

#include "bench/data/RowsBench.h"

namespace zel::bench {

namespace {

struct Ours {
    using Table = RCPtr<DataTable>;

    static Table Read(const std::string& path) {
        std::ifstream in(path);
        Table table(new DataTable);
        table->ReadFromCSV(in, ",", true, false, false, false);
        return table;
    }

    static void Write(const Table& table, std::ostream& out) { table->WriteToCSV(out, ','); }
    static std::size_t CountRows(const Table& table) { return table->GetRowCount(); }
};

struct Streamed {
    using Table = PlainRows;

    static Table Read(const std::string& path) {
        std::ifstream in(path);
        Table table;
        std::string cell;
        while (std::getline(in, cell, ',')) {
            if (cell[0] == '\n' || table.empty()) {
                table.emplace_back();
                cell.erase(0, cell[0] == '\n' ? 1 : 0);
            }
            table.back().push_back(cell);
        }
        table.pop_back();
        return table;
    }

    static void Write(const Table& table, std::ostream& out) {
        for (const std::vector<std::string>& row : table) {
            for (const std::string& cell : row) {
                out << cell << ',';
            }
            out << '\n';
        }
    }
};

using namespace Rows;

template <std::size_t rows>
Comparison Write(const std::string& what) {
    return {what,
            {{Side::OURS, WriteFile<Ours, rows>},
             {"std::ofstream with <<", WriteFile<Streamed, rows>, 0.7}}};
}

const Comparison s_readSmall(READ_SMALL, {{Side::OURS, ReadFile<Ours, SMALL>}});
const Comparison s_readLarge(READ_LARGE, {{Side::OURS, ReadFile<Ours, LARGE>}});
const Comparison s_writeSmall = Write<SMALL>(WRITE_SMALL);
const Comparison s_writeLarge = Write<LARGE>(WRITE_LARGE);

}  // namespace

}  // namespace zel::bench
