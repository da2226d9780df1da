#include "zel/watch/SettledFiles.h"

#include "zel/core/Timer.h"
#include "zel/foundation/Log.h"
#include "zel/platform/DirectoryWalk.h"
#include "zel/platform/WriteMonitor.h"
#include "zel/watch/FileWatcher.h"
#include "zel/watch/Warning.h"

#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <vector>

namespace zel {

namespace {

namespace fs = std::filesystem;
using platform::WriteMonitor;

const LogArea s_log("FileWatcher", 3);

// Changes while a file is being written.
struct Stamp {
    bool operator==(const Stamp&) const = default;

    std::uintmax_t size = 0;
    fs::file_time_type writeTime;
};

Stamp ReadStamp(const std::string& path) {
    std::error_code ignored;  // the results differ from those of an existing file
    return {fs::file_size(path, ignored), fs::last_write_time(path, ignored)};
}

bool Exists(const std::string& path) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

class CompletionTracker {
public:
    CompletionTracker(EventSource<std::string>& fileSettled, const char* path, bool reportExisting,
                      bool recursive, double settleSeconds, double pollInterval)
        : m_fileSettled(fileSettled),
          m_path(path),
          m_settleSeconds(settleSeconds),
          m_watcher(new FileWatcher(path, true, recursive, pollInterval)) {
        m_watcher->FileAdded.Connect([this](const std::string& file) { OnAdded(file); });
        m_watcher->FileRemoved.Connect([this](const std::string& file) { OnRemoved(file); });
        if (m_monitor && recursive) {
            m_watcher->DirAdded.Connect([this](const std::string& dir) { Monitor(dir); });
            m_watcher->DirRemoved.Connect(
                [this](const std::string& dir) { m_monitor->Remove(dir); });
        }
        Monitor(m_path);
        m_watcher->Tick();
        if (!reportExisting) {
            m_candidates.clear();
        }
    }

    void Tick() {
        CriticalSectionLock lock(&m_cs);
        m_watcher->Tick();
        PollMonitor();
        for (const std::string& path : CollectSettled()) {
            Report(path);
        }
    }

    std::string GetWarning() const {
        const std::string warning = m_watcher->GetWarning();
        return warning.empty() ? m_warning.Get() : warning;
    }

private:
    // Created is a file that was not opened yet: it is a link, or will be opened by its creator.
    enum class Phase { Unknown, Created, Writing, Written };

    // A file that was not reported yet.
    struct Candidate {
        Phase phase = Phase::Unknown;
        Stamp stamp;  // at the start of the period
        double periodEnd = 0;
    };
    using Candidates = std::map<std::string, Candidate>;

    // Adds the directory each time, as it may have been created or replaced.
    void PollMonitor() {
        Monitor(m_path);
        if (m_monitor &&
            !m_monitor->Poll([this](const auto& path, auto event) { Handle(path, event); })) {
            ForgetWriters();
        }
    }

    void Monitor(const std::string& directory) {
        if (!m_monitor) {
            return;
        }
        m_monitor->Add(directory);
        const std::string warning = m_monitor->GetWarning();
        if (m_warning.Set(warning)) {
            Log(s_log, 2, "Files in ", m_path,
                " may be reported before they are closed: ", warning);
        }
    }

    void OnAdded(const std::string& path) {
        m_listed.insert(path);
        const auto [place, isNew] = m_candidates.try_emplace(path);
        if (isNew) {
            StartPeriod(path, place->second);
        }
    }

    void OnRemoved(const std::string& path) {
        m_listed.erase(path);
        m_candidates.erase(path);
    }

    void Handle(const std::string& path, WriteMonitor::Event event) {
        if (event == WriteMonitor::Event::Created) {
            StartPeriod(path, m_candidates[path], Phase::Created);
        } else if (event == WriteMonitor::Event::MovedIn) {
            m_candidates[path].phase = Phase::Written;
        } else if (event == WriteMonitor::Event::Replaced) {
            HandleReplacement(path);
        } else if (event != WriteMonitor::Event::Removed) {
            HandleUse(path, event);
        } else if (!m_listed.contains(path)) {
            m_candidates.erase(path);
        }
    }

    void HandleUse(const std::string& path, WriteMonitor::Event event) {
        const auto found = m_candidates.find(path);
        if (found == m_candidates.end()) {
            return;
        }
        Candidate& candidate = found->second;
        if (event == WriteMonitor::Event::ClosedAfterWriting) {
            candidate.phase = Phase::Written;
        } else if (event == WriteMonitor::Event::Opened) {
            const bool isCreator = candidate.phase == Phase::Created;
            candidate.phase = isCreator ? Phase::Writing : candidate.phase;
        } else if (candidate.phase == Phase::Writing) {
            // Its creator may have opened it for reading only: no other closing may follow.
            StartPeriod(path, candidate);
        }
    }

    // The listed files may be others under the same names, which the watcher doesn't report.
    void HandleReplacement(const std::string& directory) {
        const std::string prefix = directory + platform::DirectoryWalk::SEPARATOR;
        for (auto file = m_listed.lower_bound(prefix);
             file != m_listed.end() && file->starts_with(prefix); ++file) {
            m_candidates.try_emplace(*file);
        }
        for (auto entry = m_candidates.lower_bound(prefix);
             entry != m_candidates.end() && entry->first.starts_with(prefix); ++entry) {
            StartPeriod(entry->first, entry->second);
        }
    }

    // The lost events may include the closing of a file.
    void ForgetWriters() {
        for (auto& [path, candidate] : m_candidates) {
            if (candidate.phase == Phase::Writing) {
                StartPeriod(path, candidate);
            }
        }
    }

    void StartPeriod(const std::string& path, Candidate& candidate,
                     Phase phase = Phase::Unknown) const {
        candidate = {phase, ReadStamp(path), Timer::GetTime() + m_settleSeconds};
    }

    std::vector<std::string> CollectSettled() {
        std::erase_if(m_candidates, [this](const auto& candidate) {
            return !m_listed.contains(candidate.first) && !Exists(candidate.first);
        });
        std::vector<std::string> settled;
        for (auto& [path, candidate] : m_candidates) {
            if (m_listed.contains(path) && IsSettled(path, candidate)) {
                candidate.phase = Phase::Written;
                settled.push_back(path);
            }
        }
        return settled;
    }

    bool IsSettled(const std::string& path, Candidate& candidate) const {
        if (candidate.phase == Phase::Writing || candidate.phase == Phase::Written) {
            return candidate.phase == Phase::Written;
        }
        if (Timer::GetTime() < candidate.periodEnd) {
            return false;
        }
        const Stamp before = candidate.stamp;
        StartPeriod(path, candidate, candidate.phase);
        return candidate.stamp == before && !platform::IsOpenForWriting(path);
    }

    // Without the candidate, so that a sink may call Tick. It is put back if the sink throws. A
    // Tick in the sink of another file may have found that this one is being written again.
    void Report(const std::string& path) {
        const auto found = m_candidates.find(path);
        if (found == m_candidates.end() || found->second.phase != Phase::Written || !Exists(path)) {
            return;
        }
        auto candidate = m_candidates.extract(found);
        try {
            m_fileSettled.Fire(path);
        } catch (...) {
            m_candidates.insert(std::move(candidate));
            throw;
        }
    }

    EventSource<std::string>& m_fileSettled;
    const std::string m_path;
    const double m_settleSeconds;
    CriticalSection m_cs;
    const std::unique_ptr<WriteMonitor> m_monitor = platform::OpenWriteMonitor();
    std::set<std::string, StrcmpiPred> m_listed;  // as the watcher distinguishes names
    Candidates m_candidates;
    Warning m_warning;
    const RCPtr<FileWatcher> m_watcher;
};

}  // namespace

// Derived, because a class nested in an exported one is exported, and its lambdas with it.
class SettledFiles::State : public CompletionTracker {
public:
    using CompletionTracker::CompletionTracker;
};

SettledFiles::SettledFiles(const char* path, bool reportExisting, bool recursive,
                           double settleSeconds, double pollInterval)
    : Thread("SettledFiles"),
      m_state(
          new State(FileSettled, path, reportExisting, recursive, settleSeconds, pollInterval)) {}

SettledFiles::~SettledFiles() = default;

void SettledFiles::Run() {
    while (!ShouldStop()) {
        Tick();
    }
}

bool SettledFiles::IsComplete() const {
    return GetWarning().empty();
}

std::string SettledFiles::GetWarning() const {
    return m_state->GetWarning();
}

void SettledFiles::Tick() {
    m_state->Tick();
}

}  // namespace zel
