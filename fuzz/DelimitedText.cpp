#include "zel/data/DataTable.h"

#include "fuzz/Target.h"

#include <sstream>

namespace zel::fuzz {

namespace {

using Table = RCPtr<DataTable>;

struct Reading {
    std::string separators;
    unsigned flags;
};

// Returns the table with the rows read before a failure, if any.
Table TableOf(std::istream& in, const Reading& how, bool* isWhole = nullptr) {
    const Table table(new DataTable);
    const auto outcome = Try<Exception>([&] {
        table->ReadFromCSV(in, how.separators.c_str(), (how.flags & 1) != 0, (how.flags & 2) != 0,
                           (how.flags & 4) != 0, (how.flags & 8) != 0);
        return true;
    });
    if (isWhole != nullptr) {
        *isWhole = outcome.has_value();
    }
    return table;
}

std::string TextOf(const Table& table, char separator) {
    std::ostringstream out;
    table->WriteToCSV(out, separator);
    return out.str();
}

}  // namespace

// The first line consists of a byte for the flags, one for the size of the pieces in which the text
// is read, and the separators.
void Run(Input input) {
    Input choices(input.TakeLine());
    Reading how{{}, choices.TakeByte()};
    const std::size_t piece = choices.TakeByte() + 1;
    how.separators = choices.GetRest();
    PieceStream in(input.GetRest(), piece);
    std::istringstream whole{std::string(input.GetRest())};
    const Table table = TableOf(in, how);
    const char separator = how.separators.c_str()[0];
    const std::string text = TextOf(table, separator);
    Require(TextOf(TableOf(whole, how), separator) == text,
            "a table is the same if read in pieces");
    if (separator == '\0' || separator == '\r') {
        return;
    }
    const bool hasHeader = table->GetFieldCount() > 0;
    const Reading again{{separator}, hasHeader ? 3U : 0U};
    PieceStream written(text, piece);
    bool isWhole = false;
    const Table back = TableOf(written, again, &isWhole);
    Require(isWhole, "written text can be read, with as many cells as fields");
    Require(back->GetRowCount() == table->GetRowCount(), "the number of rows is the same");
    Require(TextOf(back, separator) == text, "the cells are the same");
}

}  // namespace zel::fuzz
