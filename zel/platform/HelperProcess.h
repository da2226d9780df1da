#pragma once

#include "zel/platform/CrashChannel.h"

#include <string>

namespace zel::platform {

/// Starts the running program a second time, as a helper process of itself. Each system implements
/// this.
class HelperProcess {
public:
    /// Starts the program of this process with this process's arguments, environment and directory,
    /// and hands the channel's other end to it. The helper has a session of its own, standard
    /// error, null devices for its other standard streams, and no other descriptor of this process;
    /// its signals have their default actions. Only in its environment `variable` holds the
    /// channel's name. `arguments` end with null and are used if the system doesn't know them
    /// itself. Returns false, with the system's error number, on failure.
    bool Start(const std::string& variable, CrashChannel& channel, char** arguments);

    unsigned long GetProcessNumber() const noexcept { return m_process; }

    /// Returns whether the helper has ended without having become a daemon.
    bool HasFailed(const CrashChannel& channel) const noexcept;

    /// Waits until the helper has become a daemon that listens. Returns false if it ended before
    /// that, or took longer than `seconds`; it is killed then.
    bool WaitUntilListening(const CrashChannel& channel, int seconds) noexcept;

private:
    unsigned long m_process = 0;
};

/// Removes the variable from the environment of the helper process. Returns false if it isn't set,
/// or if this process has rights that the user who set its environment may lack.
bool TakeVariable(const std::string& variable, std::string& value);

/// Ignores the signals that ask a process to end, or report the loss of its terminal, during the
/// lifetime of the object.
class IgnoredTerminationSignals {
public:
    IgnoredTerminationSignals() noexcept;
    ~IgnoredTerminationSignals();
    IgnoredTerminationSignals(const IgnoredTerminationSignals&) = delete;
    IgnoredTerminationSignals& operator=(const IgnoredTerminationSignals&) = delete;
};

}  // namespace zel::platform
