#pragma once

#include "zel/core/Thread.h"
#include "zel/foundation/EventSource.h"
#include "zel/foundation/Export.h"

#include <memory>
#include <set>
#include <string>

namespace zel {

// The order of a listing: with no regard to the case of ASCII letters, else by bytes. So two names
// that differ in nothing but case are one entry.
struct ZEL_ADVANCED_API StrcmpiPred {
    // Whether `a` comes before `b`.
    bool operator()(const std::string& a, const std::string& b) const noexcept;
};

// A thread that reports the files and directories that appear and disappear in a directory and, if
// it is asked to, in all directories below. Only names count: content that changes is no event.
//
//     RCPtr<FileWatcher> watcher(new FileWatcher("/var/spool/orders", false, true, -1));
//     watcher->FileAdded.Connect([](const std::string& path) { Process(path); });
//     watcher->Start();
//     ...
//     watcher->RequestStop();
//     watcher->Join();
//
// A notice of the system, or an interval that has run out, makes it list the directory anew; what
// differs from the listing before is reported. So a change that is undone in between isn't, a
// rename is a removal and an addition, and a rename that changes nothing but case is nothing at
// all. What a link leads to is never listed: the link is a file.
//
// A path that can't be listed is empty: when a directory goes, all that was in it is reported as
// removed, and as added when it is back. The full path in an event is the path as it was given, the
// system's separator, and the name, with another separator and name per level.
//
// Sinks are called on the watcher's thread, or on the one that calls Tick, with the watcher's own
// lock held. Their exceptions end the thread (Tick, if that is called directly), and the listing
// that they left counts as not made.
class ZEL_ADVANCED_API FileWatcher : public Thread {
public:
    // Every event tells one full path. What one listing brings up is fired directories added,
    // directories removed, files added, files removed, each of them in the order of StrcmpiPred.
    EventSource<std::string> FileAdded;
    EventSource<std::string> FileRemoved;
    EventSource<std::string> DirAdded;
    EventSource<std::string> DirRemoved;

    // Watches `path`, which need not exist, with all directories below it if `recursive`. With
    // `reportExisting` the first Tick reports all that is there, else what is there now is known
    // and not reported. `pollInterval` is the number of seconds after which the directory is listed
    // without a notice: for paths that give none, such as those of other hosts. 0 lists it in every
    // Tick; a negative number leaves it to the notices. The thread is the owner's to start, and to
    // stop before the watcher is destroyed.
    FileWatcher(const char* path, bool reportExisting, bool recursive, double pollInterval);
    ~FileWatcher() override;

    // Calls Tick until the thread is asked to stop.
    void Run() override;

    // One pass: waits up to 50 milliseconds for a notice, and lists and reports if there is cause.
    // The first pass always does, and doesn't wait. It may be called instead of running the thread;
    // of two calls at once one waits for the other.
    void Tick();

    // Forgets what is known when the directory is listed next, so that this listing reports all
    // that is there as added. It is no cause for a listing by itself. Any thread may call it.
    void Reset();

    // Asks the system for notices, if there are none at the moment, and gives them up. Tick does
    // both by itself; they aren't for calls beside one.
    void InitChangeHandle();
    void CloseChangeHandle();

    // Adds the full paths of the entries of `dir`, and of all directories below it if `recursive`,
    // to the two sets; links are files, and "." and ".." are left out. Adds nothing if `dir` can't
    // be listed.
    static void EnumFilesAndDirs(const char* dir, bool recursive,
                                 std::set<std::string, StrcmpiPred>* files,
                                 std::set<std::string, StrcmpiPred>* dirs);

private:
    struct State;

    bool IsListingDue();
    bool TakeNotice();
    void List();

    const std::unique_ptr<State> m_state;
};

}  // namespace zel
