#pragma once

#include <string>
#include <vector>

namespace zel::platform {

// The processes of this machine. A new system must offer these two; any thread may call them.

// Appends the identifiers of all processes of the moment, in the system's order. False, with
// `processes` as it was, if the system doesn't tell them.
bool ListProcessIds(std::vector<unsigned int>& processes);

// Gives the name, without directories, of the file that a process runs. Empty if it may not be
// read, if there is no such file, or if the process is gone.
std::string ReadProcessName(unsigned int process);

}  // namespace zel::platform
