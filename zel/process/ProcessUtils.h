#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/RCPtr.h"

#include <list>
#include <string>

namespace zel {

/// Thrown if the system's processes can't be listed.
class ZEL_ADVANCED_API ProcessUtilsEx : public Exception {
public:
    ProcessUtilsEx(const std::string& message, const std::string& file, int line);
};

/// A process at the time of the listing. It may have exited since.
class ZEL_ADVANCED_API ProcessInfo : public RCObject {
public:
    /// Creates an entry with that name and process identifier.
    explicit ProcessInfo(std::string processName = {}, unsigned int processId = 0);

    /// The name of the executable file without directories, or "unknown" if it can't be read:
    /// because of missing permissions, because the process is exiting, or because it runs no file.
    std::string name;
    unsigned int pid;  ///< The process identifier.
};

/// Lists and finds the processes of this machine, and raises their windows.
///
///     unsigned int pid = 0;
///     if (ProcessUtils::FindProcess("orderdesk", &pid)) {
///         ProcessUtils::SwitchToProcess(pid, "Open orders");
///     }
///
/// Thread-safe: there is no state.
///
/// Guide: docs/processes.md
class ZEL_ADVANCED_API ProcessUtils {
public:
    /// Appends an entry for every process whose name equals `name`, case included, or for every
    /// process if `name` is empty, in the system's order. Throws `ProcessUtilsEx` if the processes
    /// can't be listed; `processes` is unchanged then.
    static void ListProcesses(std::list<RCPtr<ProcessInfo>>* processes, const std::string& name);

    /// Sets `pid` to the identifier of the first process whose name equals `name` without regard to
    /// the case of ASCII letters. Returns false, with `pid` unchanged, if there is none. Throws
    /// like `ListProcesses`.
    static bool FindProcess(const std::string& name, unsigned int* pid);

    /// Maximises a window of a process, brings it to the front and gives it the keyboard focus: the
    /// topmost of the windows whose whole title equals `title` without regard to the case of ASCII
    /// letters. An empty `title` matches a window without a title. Does nothing if no window
    /// matches or the process has no display of this machine.
    ///
    /// Only the first 254 bytes of a window's title are compared: a longer `title` matches nothing.
    static void SwitchToProcess(unsigned int pid, const std::string& title);

    /// Raises a window of the process that `FindProcess` returns; does nothing if there is none.
    /// Throws like `ListProcesses`.
    static void SwitchToProcess(const std::string& name, const std::string& title);
};

}  // namespace zel
