#pragma once

#include <string>
#include <vector>

namespace zel::platform {

// The processes of this machine. Every system implements these two functions. Thread-safe.

// Appends the identifiers of all processes, in the system's order. Returns false, with `processes`
// unchanged, if they can't be listed.
bool ListProcessIds(std::vector<unsigned int>& processes);

// Returns the name of a process's executable file without directories. Empty if it can't be read or
// the process runs no file or has exited.
std::string ReadProcessName(unsigned int process);

}  // namespace zel::platform
