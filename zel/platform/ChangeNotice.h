#pragma once

#include <memory>
#include <string>

namespace zel::platform {

// Tells that a name below a path has come, gone or changed; which one it was is for its user to
// find out, by a listing. Contents and attributes of files don't matter, and listing a directory
// never signals.
//
//     const std::unique_ptr<ChangeNotice> notice = OpenChangeNotice("/var/spool", true);
//     while (notice->Wait(50) && notice->Rearm()) { list the directory }
//
// A new system must offer this class and OpenChangeNotice, and keep one promise: a change made
// after Rearm (or the opening) has returned signals, at the latest once the system has told its
// news; a change made before is in a listing that starts afterwards. A notice too many does no
// harm. Not for several threads at once.
class ChangeNotice {
public:
    ChangeNotice() = default;
    virtual ~ChangeNotice() = default;
    ChangeNotice(const ChangeNotice&) = delete;
    ChangeNotice& operator=(const ChangeNotice&) = delete;

    // Waits for a signal, so many milliseconds at the most. It stays signalled until Rearm.
    virtual bool Wait(int milliseconds) = 0;

    // Ends the signal and begins to look out for the next. False if this notice is of no more use.
    virtual bool Rearm() = 0;

    // Why the system can't tell this notice of every change at the moment, and what would help: it
    // signals at intervals instead. Empty if it can.
    virtual std::string GetWarning() const = 0;
};

// Looks out below `path`, in all directories at every depth with `recursive`, else in that
// directory alone. Where the system can follow a path that doesn't exist at the moment, the notice
// serves that too. Null if no notice can be had; to try again is cheap then.
std::unique_ptr<ChangeNotice> OpenChangeNotice(const std::string& path, bool recursive);

}  // namespace zel::platform
