#include "zel/data/BlockWriter.h"
#include "zel/data/DataTable.h"
#include "zel/data/SaveFile.h"
#include "zel/foundation/Log.h"

namespace zel {

namespace {

const LogArea s_log("DataTable", 3);

void WriteLine(BlockWriter& out, const std::vector<std::string>& cells, char separator) {
    for (const std::string& cell : cells) {
        out.GetText() += cell;
        out.GetText() += separator;
        out.EndItem();
    }
    out.GetText() += '\n';
    out.EndItem();
}

}  // namespace

void DataTable::WriteToCSV(std::ostream& out, char separator) const {
    BlockWriter writer(out);
    if (!m_fieldNames.empty()) {
        WriteLine(writer, m_fieldNames, separator);
    }
    for (const RCPtr<DataRow>& row : m_rows) {
        WriteLine(writer, row->m_cells, separator);
    }
    writer.Flush();
    out.flush();
}

void DataTable::Save(const std::string& path, char separator) const {
    const std::string error =
        SaveFile(path, [&](std::ostream& out) { WriteToCSV(out, separator); });
    if (!error.empty()) {
        Throw<DataTableEx>(s_log, "Could not save ", path, ": ", error);
    }
}

}  // namespace zel
