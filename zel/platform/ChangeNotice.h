#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel::platform {

// Signals that a name below a path was added, removed or renamed. The caller looks at the names
// that may have changed, or lists the directory if they aren't known. Contents and attributes of
// files don't count, and listing a directory never signals.
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

    // Returns which entries may have changed between the last two calls of Rearm, the opening being
    // the first: their paths below that of the notice, in any order, some repeatedly. Returns
    // nothing if any may have, so that the caller has to list them all; a system that doesn't
    // report names always does. Files only: a change of a directory's name is never reported by its
    // path.
    virtual std::optional<std::vector<std::string>> TakeChanges() noexcept { return std::nullopt; }

    // Returns why the system can't report every change at the moment, and the remedy, while the
    // notice signals at intervals instead. Empty if every change is reported.
    virtual std::string GetWarning() const = 0;
};

// Opens a notice for the names in the directory `path`, with `recursive` also for those in all its
// subdirectories. Where the system supports it, the path need not exist. Returns null if no notice
// is available; retrying is cheap.
std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string& path, bool recursive);

}  // namespace zel::platform
