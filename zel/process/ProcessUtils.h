#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/RCPtr.h"

#include <list>
#include <string>

namespace zel {

// Raised when the system doesn't tell its processes.
class ZEL_ADVANCED_API ProcessUtilsEx : public Exception {
public:
    ProcessUtilsEx(const std::string& message, const std::string& file, int line);
};

// A process as a listing met it; by now it may be gone.
class ZEL_ADVANCED_API ProcessInfo : public RCObject {
public:
    // An entry of that name and identifier.
    explicit ProcessInfo(std::string processName = {}, unsigned int processId = 0);

    // The name of the file that it runs, without directories. "unknown" where that can't be read:
    // without the right to, of a process that is ending, and of one that runs no file.
    std::string name;
    unsigned int pid;  // its identifier
};

// The processes of this machine, and their windows.
//
//     unsigned int pid = 0;
//     if (ProcessUtils::FindProcess("orderdesk", &pid)) {
//         ProcessUtils::SwitchToProcess(pid, "Open orders");
//     }
//
// There is no state: any thread may call anything at any time.
class ZEL_ADVANCED_API ProcessUtils {
public:
    // Appends an entry for every process, in the system's order; with a `name` that isn't empty
    // only for those whose name is the same, case included. Throws ProcessUtilsEx if the system
    // doesn't tell its processes; the list is as it was then.
    static void ListProcesses(std::list<RCPtr<ProcessInfo>>* processes, const std::string& name);

    // Sets `pid` to the first process of that name, in any case of its ASCII letters. False if
    // there is none; `pid` keeps its value then. Throws as ListProcesses does.
    static bool FindProcess(const std::string& name, unsigned int* pid);

    // Shows a window of that process maximised, brings it to the front and gives it the keyboard:
    // of those whose whole title is the same, in any case of its ASCII letters, the uppermost. An
    // empty title is that of a window without one. Only the first 254 bytes of a window's title are
    // read, so a longer `title` is never found. Does nothing without such a window, or without a
    // screen of this machine's.
    static void SwitchToProcess(unsigned int pid, const std::string& title);

    // The same for the process that FindProcess gives, if there is one. Throws as that does.
    static void SwitchToProcess(const std::string& name, const std::string& title);
};

}  // namespace zel
