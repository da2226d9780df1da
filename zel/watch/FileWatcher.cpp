#include "zel/watch/FileWatcher.h"

#include "zel/core/Timer.h"
#include "zel/foundation/Log.h"
#include "zel/platform/ChangeNotice.h"
#include "zel/watch/Snapshot.h"
#include "zel/watch/Warning.h"

#include <optional>
#include <utility>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("FileWatcher", 3);

constexpr int NOTICE_WAIT = 50;  // milliseconds; a stop is noticed between two waits

using Paths = std::vector<std::string>;

void FireAll(EventSource<std::string>& source, const Listing& paths) {
    for (const std::string& path : paths) {
        source.Fire(path);
    }
}

}  // namespace

class FileWatcher::State {
public:
    State(FileWatcher& watcher, const char* path, bool recursive, double pollInterval)
        : m_watcher(watcher), m_path(path), m_recursive(recursive), m_pollInterval(pollInterval) {}

    void ListExisting() { m_snapshots[m_current].List(m_path, m_recursive); }
    void Reset() { m_resetEvent->Set(true); }

    void Tick() {
        CriticalSectionLock lock(&m_cs);
        if (m_resetEvent->IsSet()) {
            for (Snapshot& snapshot : m_snapshots) {
                snapshot.Clear();
            }
            ++m_revision;
            m_mustListAll = true;
            m_resetEvent->Set(false);
        }
        std::optional<Paths> changes;
        if (WaitForCause(changes)) {
            List(changes);
        } else {
            Log(s_log, 5, "Nothing to do: shouldCheck == false; pollInterval=", m_pollInterval);
        }
    }

    void OpenNotice() {
        Log(s_log, 6, "InitChangeHandle()");
        if (!m_notice) {
            m_notice = platform::OpenChangeNotice(m_path, m_recursive);
            m_mustListAll = true;
            ReportWarning();
        }
    }

    void CloseNotice() { m_notice.reset(); }
    std::string GetWarning() const { return m_warning.Get(); }

private:
    bool WaitForCause(std::optional<Paths>& changes) {
        if (m_shouldCheck) {
            return true;
        }
        OpenNotice();
        if (WaitForNotice()) {
            changes = m_notice ? m_notice->TakeChanges() : std::nullopt;
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

    // Looks only at what the notice reports as changed, if it does. While the listing of each
    // directory is logged, all are listed.
    void List(const std::optional<Paths>& changes) {
        Log(s_log, 5, "Tick: there are files for me to check!");
        m_shouldCheck = false;
        const bool isSufficient = changes && !m_mustListAll && !s_log.IsEnabled(5);
        m_mustListAll = true;  // unless all is reported below
        if (std::optional<Changes> files =
                isSufficient ? m_snapshots[m_current].LookAt(m_path, *changes) : std::nullopt) {
            ReportFiles(std::move(*files));
        } else {
            ListAll();
        }
    }

    void ReportFiles(Changes&& files) {
        const int current = m_current;
        const unsigned revision = m_revision;
        Report({}, files);
        if (m_revision == revision) {
            m_snapshots[current].Apply(std::move(files));
            m_mustListAll = false;
        } else {
            Replace(current);
        }
    }

    // The stopwatch is restarted by a complete listing only, as notices of single files must not
    // postpone the next.
    void ListAll() {
        m_stopwatch.Start();
        const int current = m_current;
        const int next = 1 - current;
        const unsigned revision = ++m_revision;
        m_snapshots[next].List(m_path, m_recursive);
        Report(Compare(m_snapshots[current].GetDirs(), m_snapshots[next].GetDirs()),
               Compare(m_snapshots[current].GetFiles(), m_snapshots[next].GetFiles()));
        m_mustListAll = m_depth > 0 || m_revision != revision;
        Replace(current);
    }

    // Frees the old listing, unless a Tick that is still reporting makes it the current one.
    void Replace(int current) {
        m_current = 1 - current;
        if (m_depth == 0) {
            m_snapshots[current].Clear();
        }
    }

    // A sink may call Tick, which changes the snapshots.
    void Report(const Changes& dirs, const Changes& files) {
        ++m_depth;
        try {
            FireAll(m_watcher.DirAdded, dirs.added);
            FireAll(m_watcher.DirRemoved, dirs.removed);
            FireAll(m_watcher.FileAdded, files.added);
            FireAll(m_watcher.FileRemoved, files.removed);
        } catch (...) {
            --m_depth;
            throw;
        }
        --m_depth;
    }

    // A missing notice isn't logged: each Tick tries again.
    void ReportWarning() {
        const std::string text = m_notice ? m_notice->GetWarning() : "the system gives no notice";
        if (m_warning.Set(text) && m_notice) {
            Log(s_log, 2, "Not every change in ", m_path, " gives a notice: ", text);
        }
    }

    FileWatcher& m_watcher;
    CriticalSection m_cs{std::string()};
    Snapshot m_snapshots[2];
    int m_current = 0;
    int m_depth = 0;          // of Tick calls that are reporting: a sink may call Tick
    unsigned m_revision = 0;  // of the snapshots
    // The current listing isn't what the notice's changes refer to.
    bool m_mustListAll = true;
    const std::string m_path;
    const bool m_recursive;
    std::unique_ptr<platform::ChangeNotice> m_notice;
    Warning m_warning;
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

bool FileWatcher::IsComplete() const {
    return GetWarning().empty();
}

std::string FileWatcher::GetWarning() const {
    return m_state->GetWarning();
}

void FileWatcher::InitChangeHandle() {
    m_state->OpenNotice();
}

void FileWatcher::CloseChangeHandle() {
    m_state->CloseNotice();
}

}  // namespace zel
