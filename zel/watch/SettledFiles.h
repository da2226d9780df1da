#pragma once

#include "zel/core/Thread.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/Export.h"

#include <memory>
#include <string>

namespace zel {

/// A thread that reports the files that appear in a directory, optionally with all its
/// subdirectories, after they have been written. A `FileWatcher` reports a file as soon as it
/// exists, usually before it is complete.
///
///     RCPtr<SettledFiles> files(new SettledFiles("/var/spool/orders", true, false, 2));
///     files->FileSettled.Connect([](const std::string& path) { std::puts(path.c_str()); });
///     files->Start();
///     ...
///     files->RequestStop();
///     files->Join();
///
/// | A file that | is settled |
/// |---|---|
/// | is created and written by a program | when the program has closed it |
/// | is moved into the directory or renamed in it | at once |
/// | existed before, or appears in another way | when it is unchanged for a period |
///
/// Unchanged are its size and its write time; on Windows no program may have it open for writing
/// either, and the period applies to every file. Other ways are a link, or a new subdirectory whose
/// files were created before it could be watched. The period also applies to a file that another
/// program has opened and closed for reading while it was being written, to files being written
/// when the system has lost events, and to all files where the system doesn't report how files are
/// written, such as those of other hosts.
///
/// Each file is reported once. A file that is removed before it has settled is not reported, nor is
/// a later change of a reported file. A file that replaces a reported one under the same name, by
/// itself or with its directory, is reported where the system reports how files are written.
///
/// Sinks are called on this thread, or on the thread that calls `Tick`, with the object's own lock
/// held. An exception from a sink passes through `Tick`, and the file is reported again by a later
/// `Tick`. On this thread that exception is logged at level 2, if the program has set a `Logger`,
/// and ends the thread: nothing more is reported.
///
/// Guide: docs/watching.md
class ZEL_ADVANCED_API SettledFiles : public Thread {
public:
    /// Fired with the full path of one file. The path has the form that `FileWatcher` describes.
    EventSource<std::string> FileSettled;

    /// Creates the object without starting its thread.
    ///
    /// - `path` is the directory to watch. It need not exist.
    /// - `reportExisting` includes the files that exist already.
    /// - `recursive` includes the subdirectories at every depth.
    /// - `settleSeconds` is the period for which a file must be unchanged if the system doesn't
    ///   report that it was closed. 0 and a negative number report such a file at once.
    /// - `pollInterval` is the number of seconds after which the directory is listed without a
    ///   notice of the system, as for `FileWatcher`.
    SettledFiles(const char* path, bool reportExisting, bool recursive, double settleSeconds,
                 double pollInterval = -1);

    /// Requires: the thread has exited, or was never started.
    ~SettledFiles() override;

    /// Calls `Tick` until the thread is asked to stop. Called by the thread.
    void Run() override;

    /// Makes one pass: waits up to 50 milliseconds for a change, and reports the files that have
    /// settled. May be called instead of running the thread. Thread-safe: concurrent calls run one
    /// after the other. A sink may call it.
    void Tick();

    /// Returns whether the system reports every new file and when it is closed. If not,
    /// `GetWarning` returns the reason, and the period or an interval decides instead. A system
    /// that never reports closing isn't a reason. Thread-safe; they don't wait for a `Tick`.
    ///@{
    bool IsComplete() const;
    std::string GetWarning() const;
    ///@}

private:
    class State;

    const std::unique_ptr<State> m_state;
};

}  // namespace zel
