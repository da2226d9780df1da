#include "Intake.h"

#include "zel/core/FileUtils.h"
#include "zel/foundation/Log.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

const zel::LogArea s_log("Intake", 4);

}  // namespace

Intake::Intake(const Settings& settings)
    : m_settings(settings),
      m_prototypes(MakePrototypes(settings.columns)),
      m_store(settings.storeFile, m_prototypes) {
    if (!settings.plugin.empty()) {
        m_filters.Load(settings.plugin);
    }
    zel::Log(s_log, 4, "The store holds ", m_store.GetRecordCount(), " rows");
    // A file that is stored but still in the drop folder was left there by a killed program.
    const Source& last = m_store.GetLastSource();
    const fs::path left = fs::path(settings.dropFolder) / last.name;
    if (fs::is_regular_file(left) && GetWriteTime(left.string()) == last.writeTime) {
        MoveToDone(last);
        zel::Log(s_log, 4, last.name, " is already stored and only moved");
    }
}

void Intake::TakeFile(std::string path) {
    try {
        if (!fs::exists(path)) {
            return;
        }
        const auto keep = [this](const std::string& column, const std::string& cell) {
            return m_filters.Keeps(column, cell);
        };
        Accept(ReadBatch(path, m_settings.columns, m_prototypes, keep));
    } catch (const std::exception& ex) {
        zel::Log(s_log, 2, path, ": ", ex.what());
    }
}

void Intake::Accept(const Batch& batch) {
    WriteRejected(batch);
    m_store.Append(batch);
    MoveToDone(batch.source);
    ++m_files;
    m_accepted += batch.records.size();
    m_rejected += batch.rejected.size();
    m_filtered += batch.filtered;
    zel::Log(s_log, 4, batch.source.name, ": ", batch.records.size(), " rows accepted, ",
             batch.rejected.size(), " rejected, ", batch.filtered, " filtered");
}

// Overwrites the report if a file is processed again, so that no row is reported twice.
void Intake::WriteRejected(const Batch& batch) const {
    if (batch.rejected.empty()) {
        return;
    }
    std::ofstream out(fs::path(m_settings.rejectedFolder) / batch.source.GetUniqueName());
    for (const std::string& line : batch.rejected) {
        zel::Log(s_log, 3, line);
        out << line << '\n';
    }
    if (!out.flush()) {
        throw std::runtime_error("The rejected rows can't be written");
    }
}

void Intake::MoveToDone(const Source& source) const {
    fs::rename(fs::path(m_settings.dropFolder) / source.name,
               fs::path(m_settings.doneFolder) / source.GetUniqueName());
}

std::string Intake::GetSummary() const {
    zel::MemOS text;
    text << m_files << " files, " << m_accepted << " rows accepted, " << m_rejected << " rejected, "
         << m_filtered << " filtered";
    return text.ToString();
}
