#pragma once

#include "zel/core/Thread.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/Export.h"

#include <memory>
#include <set>
#include <string>

namespace zel {

/// Order of the paths in a listing: ASCII letters compare without regard to case, everything else
/// by bytes. Two names that differ only in case are one entry.
struct ZEL_ADVANCED_API StrcmpiPred {
    /// Returns whether `a` is ordered before `b`.
    bool operator()(const std::string& a, const std::string& b) const noexcept;
};

/// A thread that reports the files and directories that appear in or disappear from a directory,
/// optionally with all its subdirectories. Only names count: a change of a file's content is not
/// reported, and a new file is reported as soon as it exists, usually before it has been written.
///
///     RCPtr<FileWatcher> watcher(new FileWatcher("/var/spool/orders", false, true, -1));
///     watcher->FileAdded.Connect([](const std::string& path) { std::puts(path.c_str()); });
///     watcher->Start();
///     ...
///     watcher->RequestStop();
///     watcher->Join();
///
/// A change notice of the system, or an elapsed interval, causes a listing of the directory; the
/// difference to the listing before is reported. After a notice that names the files which may have
/// changed, only these are looked at.
///
/// | Change | Reported as |
/// |---|---|
/// | rename | removed under the old path, added under the new one |
/// | rename that changes only the case of ASCII letters | nothing |
/// | change undone before the next listing | nothing |
/// | directory can't be listed | all its entries removed; added when it can be listed again |
/// | symbolic link or junction, wherever it points | a file; links are not followed |
///
/// An event's path is the watched path as it was passed, then the system's separator and a name for
/// each level.
///
/// Sinks are called on the watcher's thread, or on the thread that calls `Tick`, with the watcher's
/// own lock held. An exception from a sink passes through `Tick`, and the listing being reported is
/// discarded: the next one reports its changes again. On the watcher's thread that exception is
/// logged at level 2, if the program has set a `Logger`, and ends the thread: nothing more is
/// reported.
///
/// Guide: docs/watching.md
class ZEL_ADVANCED_API FileWatcher : public Thread {
public:
    /// Fired with the full path of one entry. The events of one listing are fired in the order
    /// `DirAdded`, `DirRemoved`, `FileAdded`, `FileRemoved`, and each in the order of
    /// `StrcmpiPred`.
    ///@{
    EventSource<std::string> FileAdded;
    EventSource<std::string> FileRemoved;
    EventSource<std::string> DirAdded;
    EventSource<std::string> DirRemoved;
    ///@}

    /// Creates a watcher without starting its thread.
    ///
    /// - `path` is the directory to watch. It need not exist.
    /// - `reportExisting` makes the first `Tick` report all existing entries as added. Otherwise
    ///   the existing entries are listed here and not reported.
    /// - `recursive` includes the subdirectories at every depth.
    /// - `pollInterval` is the number of seconds after which the directory is listed without a
    ///   notice, for file systems that send none, such as those of other hosts. 0 lists it in every
    ///   `Tick`; a negative number never lists it without a notice.
    FileWatcher(const char* path, bool reportExisting, bool recursive, double pollInterval);

    /// Requires: the thread has exited, or was never started.
    ~FileWatcher() override;

    /// Calls `Tick` until the thread is asked to stop. Called by the thread.
    void Run() override;

    /// Makes one pass: waits up to 50 milliseconds for a notice, then lists the directory and
    /// reports the changes if a notice was received or the poll interval has elapsed. The first
    /// pass lists without waiting. May be called instead of running the thread. Thread-safe:
    /// concurrent calls run one after the other. A sink may call it.
    void Tick();

    /// Makes the next listing report all existing entries as added. Doesn't cause a listing.
    /// Thread-safe.
    void Reset();

    /// Returns whether the system reports every change of a name in the directory, so that each is
    /// reported here soon. If not, `GetWarning` returns the reason, and the directory is listed at
    /// intervals instead, of two seconds or of `pollInterval`. Both are known once the object is
    /// created and are updated by `Tick`, which also logs each reason once. Thread-safe; they don't
    /// wait for a `Tick`.
    ///
    /// Changes that the system doesn't report and doesn't report as missing, such as those of other
    /// hosts, are not included.
    ///@{
    bool IsComplete() const;
    std::string GetWarning() const;
    ///@}

    /// Opens the system's change notice unless it is open, or closes it. `Tick` calls both.
    /// Not thread-safe: must not run concurrently with `Tick`.
    ///@{
    void InitChangeHandle();
    void CloseChangeHandle();
    ///@}

    /// Adds the full paths of the entries of `dir` to the two sets; of all its subdirectories, too,
    /// if `recursive`. Links are added to `files`; "." and ".." are omitted. Adds nothing if `dir`
    /// can't be listed. Thread-safe.
    static void EnumFilesAndDirs(const char* dir, bool recursive,
                                 std::set<std::string, StrcmpiPred>* files,
                                 std::set<std::string, StrcmpiPred>* dirs);

private:
    class State;

    const std::unique_ptr<State> m_state;
};

}  // namespace zel
