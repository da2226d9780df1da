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

constexpr int NOTICE_WAIT = 50;  // milliseconds; also how long a stop may take to be noticed

using Listing = std::set<std::string, StrcmpiPred>;
using Paths = std::vector<std::string>;

struct Changes {
    Paths added;
    Paths removed;
};

Changes Compare(const Listing& before, const Listing& now) {
    Changes changes;
    auto old = before.begin();
    auto fresh = now.begin();
    while (old != before.end() || fresh != now.end()) {
        const int order = old == before.end()  ? 1
                          : fresh == now.end() ? -1
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

struct FileWatcher::State {
    State(const char* watchedPath, bool isRecursive, double interval)
        : path(watchedPath), recursive(isRecursive), pollInterval(interval) {}

    void TellWarning() {
        const std::string warning = notice->GetWarning();
        if (!warning.empty() && toldWarnings.insert(warning).second) {
            zel::Log(s_log, 2, "Not every change in ", path, " gives a notice: ", warning);
        }
    }

    CriticalSection lock{std::string()};
    Listing files[2];
    Listing dirs[2];
    int current = 0;
    const std::string path;
    const bool recursive;
    std::unique_ptr<platform::ChangeNotice> notice;
    std::set<std::string> toldWarnings;
    Timer stopwatch;
    bool shouldCheck = true;
    const double pollInterval;
    const RCPtr<Event> resetEvent{new Event(Event::ManualReset, false)};
};

FileWatcher::FileWatcher(const char* path, bool reportExisting, bool recursive, double pollInterval)
    : Thread("FileWatcher"), m_state(new State(path, recursive, pollInterval)) {
    if (!reportExisting) {
        EnumFilesAndDirs(path, recursive, &m_state->files[0], &m_state->dirs[0]);
    }
    // What changes from here on is met by the first Tick, which lists in any case.
    InitChangeHandle();
}

FileWatcher::~FileWatcher() {
    CloseChangeHandle();
}

void FileWatcher::Run() {
    while (!ShouldStop()) {
        Tick();
    }
}

void FileWatcher::Tick() {
    Log(s_log, 6, "FileWater::Tick()");
    CriticalSectionLock lock(&m_state->lock);
    if (m_state->resetEvent->IsSet()) {
        for (int i : {0, 1}) {
            m_state->files[i].clear();
            m_state->dirs[i].clear();
        }
        m_state->resetEvent->Set(false);
    }
    if (IsListingDue()) {
        List();
    } else {
        Log(s_log, 5, "Nothing to do: shouldCheck == false; pollInterval=", m_state->pollInterval);
    }
}

bool FileWatcher::IsListingDue() {
    if (m_state->shouldCheck) {
        return true;
    }
    InitChangeHandle();
    if (TakeNotice()) {
        return true;
    }
    const double interval = m_state->pollInterval;
    if (interval >= 0 && m_state->stopwatch.GetElapsedTime() >= interval) {
        CloseChangeHandle();
        return true;
    }
    return false;
}

// Looks out for the next change before the listing starts, so that a change during the listing
// gives a notice again.
bool FileWatcher::TakeNotice() {
    if (!m_state->notice || !m_state->notice->Wait(NOTICE_WAIT)) {
        return false;
    }
    if (m_state->notice->Rearm()) {
        m_state->TellWarning();
    } else {
        CloseChangeHandle();
    }
    return true;
}

void FileWatcher::List() {
    Log(s_log, 5, "Tick: there are files for me to check!");
    m_state->shouldCheck = false;
    m_state->stopwatch.Start();
    const int current = m_state->current;
    const int next = 1 - current;
    Listing& files = m_state->files[next];
    Listing& dirs = m_state->dirs[next];
    files.clear();
    dirs.clear();
    EnumFilesAndDirs(m_state->path.c_str(), m_state->recursive, &files, &dirs);
    // Copies, as a sink may call Tick.
    const Changes dirChanges = Compare(m_state->dirs[current], dirs);
    const Changes fileChanges = Compare(m_state->files[current], files);
    FireAll(DirAdded, dirChanges.added);
    FireAll(DirRemoved, dirChanges.removed);
    FireAll(FileAdded, fileChanges.added);
    FireAll(FileRemoved, fileChanges.removed);
    m_state->current = next;
    // Nobody asks for the old listing any more, and it is as large as the new one.
    m_state->files[current].clear();
    m_state->dirs[current].clear();
}

void FileWatcher::Reset() {
    m_state->resetEvent->Set(true);
}

void FileWatcher::InitChangeHandle() {
    Log(s_log, 6, "InitChangeHandle()");
    if (!m_state->notice) {
        m_state->notice = platform::OpenChangeNotice(m_state->path, m_state->recursive);
        if (m_state->notice) {
            m_state->TellWarning();
        }
    }
}

void FileWatcher::CloseChangeHandle() {
    m_state->notice.reset();
}

}  // namespace zel
