#pragma once

#include <memory>
#include <string>

namespace zel::platform {

// Signals that a name below a path was added, removed or renamed, without reporting which: the
// caller lists the directory. Contents and attributes of files don't count, and listing a directory
// never signals.
//
//     const std::unique_ptr<ChangeNotice> notice = OpenChangeNotice("/var/spool", true);
//     while (notice->Wait(50) && notice->Rearm()) { list the directory }
//
// Every system implements this class and OpenChangeNotice, and guarantees: a change made after
// Rearm (or OpenChangeNotice) has returned signals the notice once the system has delivered it; a
// change made before is seen by a listing that starts afterwards. Spurious signals are allowed. Not
// thread-safe.
class ChangeNotice {
public:
    ChangeNotice() = default;
    virtual ~ChangeNotice() = default;
    ChangeNotice(const ChangeNotice&) = delete;
    ChangeNotice& operator=(const ChangeNotice&) = delete;

    // Blocks until the notice is signalled, at most `milliseconds`. Returns whether it is
    // signalled; it stays so until Rearm.
    virtual bool Wait(int milliseconds) = 0;

    // Resets the signal and waits for the next change. Returns false if the notice is no longer
    // usable and must be reopened.
    virtual bool Rearm() = 0;

    // Returns why the system can't report every change at the moment, and the remedy, while the
    // notice signals at intervals instead. Empty if every change is reported.
    virtual std::string GetWarning() const = 0;
};

// Opens a notice for the names in the directory `path`, with `recursive` also for those in all its
// subdirectories. Where the system supports it, the path need not exist. Returns null if no notice
// is available; retrying is cheap.
std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string& path, bool recursive);

}  // namespace zel::platform
