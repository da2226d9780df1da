#pragma once

#include "zel/platform/CrashChannel.h"

#include <cstdint>
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
    /// and hands the channel's other end to it. Only in its environment `variable` holds the
    /// channel's name. It has standard error, null devices for its other standard streams, and
    /// inherits nothing else that is open in this process. `arguments` end with null and are used
    /// if the system doesn't know them itself. Returns false, with the system's error number, on
    /// failure.
    ///
    /// On Linux the helper is no child of this process and has a session of its own; its signals
    /// have their default actions.
    bool Start(const std::string& variable, CrashChannel& channel, char** arguments);

    unsigned long GetProcessNumber() const noexcept { return m_process; }

    /// Returns whether the helper has ended already.
    bool HasEnded() const noexcept;

    /// Waits until the helper has opened the channel. Returns false if it ended before that, or
    /// took longer than `seconds`; it is killed then.
    bool WaitUntilListening(const CrashChannel& channel, int seconds) noexcept;

private:
    unsigned long m_process = 0;
    std::intptr_t m_end = -1;    // signals the helper's end
    std::intptr_t m_ready = -1;  // signals that it listens, unless the channel does
};

/// Removes the variable from the environment of the helper process. Returns false if it isn't set,
/// or if this process has rights that the user who set its environment lacks. A process whose
/// additional rights can be dropped drops them instead.
bool TakeVariable(const std::string& variable, std::string& value);

/// Returns whether this is a helper process that looks for its variable under another name than the
/// one under which it was set. All such names end with `ending`.
bool IsLostHelper(const std::string& ending);

/// Ignores the system's requests to end, such as Ctrl-C or the loss of the terminal, until the
/// process ends, as far as the system permits.
void IgnoreTerminationSignals() noexcept;

}  // namespace zel::platform
