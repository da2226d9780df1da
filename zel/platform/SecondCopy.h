#pragma once

#include "zel/platform/CrashChannel.h"

#include <string>

namespace zel::platform {

// Starting the running program once more, as a helper process of itself. A new system must offer
// these.
class SecondCopy {
public:
    // Starts the program of this process with this process's arguments, environment and directory,
    // and hands the channel's other end over to it. The copy has a session of its own, standard
    // error, null devices for its other standard streams, and no other descriptor of this process;
    // its signals are at their defaults. In its environment alone `variable` holds the channel's
    // name. `arguments` end with null and serve where the system doesn't know them itself. False
    // if it can't be started, which the system's error number tells.
    bool Start(const std::string& variable, CrashChannel& channel, char** arguments);

    unsigned long GetProcessNumber() const noexcept { return m_process; }

    // True once the copy has ended without having become a daemon.
    bool HasFailed(const CrashChannel& channel) const noexcept;

    // Waits until the copy has become a daemon that listens. False if it ended before that, or
    // took longer than `seconds`, and then it is ended.
    bool WaitUntilListening(const CrashChannel& channel, int seconds) noexcept;

private:
    unsigned long m_process = 0;
};

// In the copy: takes the variable out of the environment. False if it isn't set, or if this
// process has rights that whoever set its environment may lack.
bool TakeVariable(const std::string& variable, std::string& value);

// As long as one lives, the signals that ask a process politely to end, or tell it that its
// terminal went, are ignored.
class PoliteSignalsIgnored {
public:
    PoliteSignalsIgnored() noexcept;
    ~PoliteSignalsIgnored();
    PoliteSignalsIgnored(const PoliteSignalsIgnored&) = delete;
    PoliteSignalsIgnored& operator=(const PoliteSignalsIgnored&) = delete;
};

}  // namespace zel::platform
