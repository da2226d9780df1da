#include "zel/watch/FileWatcher.h"

#include "zel/core/Timer.h"
#include "zel/foundation/Log.h"
#include "zel/platform/ChangeNotice.h"
#include "zel/platform/NameOrder.h"

#include <utility>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("FileWatcher", 3);

constexpr int NOTICE_WAIT = 50;  // milliseconds; a stop is noticed between two waits

using Listing = std::set<std::string, StrcmpiPred>;
using Paths = std::vector<std::string>;

struct Snapshot {
    void Fill(const std::string& path, bool recursive) {
        Clear();
        FileWatcher::EnumFilesAndDirs(path.c_str(), recursive, &files, &dirs);
    }

    void Clear() {
        files.clear();
        dirs.clear();
    }

    Listing files;
    Listing dirs;
};

struct Changes {
    Paths added;
    Paths removed;
};

Changes Compare(const Listing& before, const Listing& after) {
    Changes changes;
    auto old = before.begin();
    auto fresh = after.begin();
    while (old != before.end() || fresh != after.end()) {
        const int order = old == before.end()    ? 1
                          : fresh == after.end() ? -1
                                                 : platform::CompareNames(*old, *fresh);
        if (order < 0) {
            changes.removed.push_back(*old++);
        } else if (order > 0) {
            changes.added.push_back(*fresh++);
        } else {
            ++old;
            ++fresh;
        }
    }
    return changes;
}

void FireAll(EventSource<std::string>& source, const Paths& paths) {
    for (const std::string& path : paths) {
        source.Fire(path);
    }
}

}  // namespace

class FileWatcher::State {
public:
    State(FileWatcher& watcher, const char* path, bool recursive, double pollInterval)
        : m_watcher(watcher), m_path(path), m_recursive(recursive), m_pollInterval(pollInterval) {}

    void ListExisting() { m_snapshots[m_current].Fill(m_path, m_recursive); }
    void Reset() { m_resetEvent->Set(true); }

    void Tick() {
        CriticalSectionLock lock(&m_cs);
        if (m_resetEvent->IsSet()) {
            for (Snapshot& snapshot : m_snapshots) {
                snapshot.Clear();
            }
            m_resetEvent->Set(false);
        }
        if (WaitForCause()) {
            List();
        } else {
            Log(s_log, 5, "Nothing to do: shouldCheck == false; pollInterval=", m_pollInterval);
        }
    }

    void OpenNotice() {
        Log(s_log, 6, "InitChangeHandle()");
        if (!m_notice) {
            m_notice = platform::OpenChangeNotice(m_path, m_recursive);
            if (m_notice) {
                ReportWarning();
            }
        }
    }

    void CloseNotice() { m_notice.reset(); }

private:
    bool WaitForCause() {
        if (m_shouldCheck) {
            return true;
        }
        OpenNotice();
        if (WaitForNotice()) {
            return true;
        }
        if (m_pollInterval >= 0 && m_stopwatch.GetElapsedTime() >= m_pollInterval) {
            CloseNotice();
            return true;
        }
        return false;
    }

    // Rearms the notice before the listing starts, so that a change during the listing signals it
    // again.
    bool WaitForNotice() {
        if (!m_notice || !m_notice->Wait(NOTICE_WAIT)) {
            return false;
        }
        if (m_notice->Rearm()) {
            ReportWarning();
        } else {
            CloseNotice();
        }
        return true;
    }

    void List() {
        Log(s_log, 5, "Tick: there are files for me to check!");
        m_shouldCheck = false;
        m_stopwatch.Start();
        const int current = m_current;
        const int next = 1 - current;
        m_snapshots[next].Fill(m_path, m_recursive);
        ++m_depth;
        try {
            Report(m_snapshots[current], m_snapshots[next]);
        } catch (...) {
            --m_depth;
            throw;
        }
        m_current = next;
        // Frees the old listing, unless a Tick that is still reporting makes it the current one.
        if (--m_depth == 0) {
            m_snapshots[current].Clear();
        }
    }

    void Report(const Snapshot& before, const Snapshot& after) {
        // Copies, because a sink may call Tick, which changes the snapshots.
        const Changes dirs = Compare(before.dirs, after.dirs);
        const Changes files = Compare(before.files, after.files);
        FireAll(m_watcher.DirAdded, dirs.added);
        FireAll(m_watcher.DirRemoved, dirs.removed);
        FireAll(m_watcher.FileAdded, files.added);
        FireAll(m_watcher.FileRemoved, files.removed);
    }

    void ReportWarning() {
        const std::string warning = m_notice->GetWarning();
        if (!warning.empty() && m_reportedWarnings.insert(warning).second) {
            Log(s_log, 2, "Not every change in ", m_path, " gives a notice: ", warning);
        }
    }

    FileWatcher& m_watcher;
    CriticalSection m_cs{std::string()};
    Snapshot m_snapshots[2];
    int m_current = 0;
    int m_depth = 0;  // of Tick calls that are reporting: a sink may call Tick
    const std::string m_path;
    const bool m_recursive;
    std::unique_ptr<platform::ChangeNotice> m_notice;
    std::set<std::string> m_reportedWarnings;
    Timer m_stopwatch;
    bool m_shouldCheck = true;
    const double m_pollInterval;
    const RCPtr<Event> m_resetEvent{new Event(Event::ManualReset, false)};
};

FileWatcher::FileWatcher(const char* path, bool reportExisting, bool recursive, double pollInterval)
    : Thread("FileWatcher"), m_state(new State(*this, path, recursive, pollInterval)) {
    if (!reportExisting) {
        m_state->ListExisting();
    }
    // A change between the listing and the opening is found by the first Tick, which always lists.
    m_state->OpenNotice();
}

FileWatcher::~FileWatcher() = default;

void FileWatcher::Run() {
    while (!ShouldStop()) {
        Tick();
    }
}

void FileWatcher::Tick() {
    Log(s_log, 6, "FileWater::Tick()");
    m_state->Tick();
}

void FileWatcher::Reset() {
    m_state->Reset();
}

void FileWatcher::InitChangeHandle() {
    m_state->OpenNotice();
}

void FileWatcher::CloseChangeHandle() {
    m_state->CloseNotice();
}

}  // namespace zel
