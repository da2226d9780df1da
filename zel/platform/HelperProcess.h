#pragma once

#include "zel/platform/CrashChannel.h"

#include <string>

namespace zel::platform {

/// Starts the running program a second time, as a helper process of itself. Each system implements
/// this.
class HelperProcess {
public:
    HelperProcess() = default;
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    /// Starts the program of this process with this process's arguments, environment and directory,
    /// and hands the channel's other end to it. The helper is no child of this process. It has a
    /// session of its own, standard error, null devices for its other standard streams, and no
    /// other descriptor of this process; its signals have their default actions. Only in its
    /// environment `variable` holds the channel's name. `arguments` end with null and are used if
    /// the system doesn't know them itself. Returns false, with the system's error number, on
    /// failure.
    bool Start(const std::string& variable, CrashChannel& channel, char** arguments);

    unsigned long GetProcessNumber() const noexcept { return m_process; }

    /// Returns whether the helper has ended already.
    bool HasEnded() const noexcept;

    /// Waits until the helper has opened the channel. Returns false if it ended before that, or
    /// took longer than `seconds`; it is killed then.
    bool WaitUntilListening(int seconds) noexcept;

private:
    bool Spawn(const std::string& variable, CrashChannel& channel, char** arguments, int ready);

    unsigned long m_process = 0;
    int m_end = -1;
    int m_ready = -1;
};

/// Removes the variable from the environment of the helper process. Returns false if it isn't set,
/// or if this process has rights that the user who set its environment lacks. A process whose
/// additional rights can be dropped drops them instead.
bool TakeVariable(const std::string& variable, std::string& value);

/// Returns whether this is a helper process that looks for its variable under another name than the
/// one under which it was set. All such names end with `ending`.
bool IsLostHelper(const std::string& ending);

/// Ignores the signals that ask a process to end, or report the loss of its terminal, until the
/// process ends.
void IgnoreTerminationSignals() noexcept;

}  // namespace zel::platform
