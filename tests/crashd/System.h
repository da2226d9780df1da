#pragma once

#include <map>
#include <string>

// No sanitizer may report before the fault.
#define ZEL_UNCHECKED __attribute__((no_sanitize("undefined", "address", "thread")))

namespace zel::crashtest {

// What the tests of crashes need of the system: one folder of definitions per system.

using Work = void (*)();
using Works = std::map<std::string, Work>;

// Deaths, places and shapes of programs that only this system has, and what all of them do before
// Initialize ("always"), after it ("late always"), before they die, and in the daemon's callback.
extern const Works SYSTEM_WORKS;

// The path of a file Main.cpp.
extern const char* const SOURCE_FILE;

// Prepares the process that starts victims.
void PrepareTests();

// Waits for the processes that ended victims have started.
void WaitForOrphans();

// Returns the function of a library that is opened for this.
int (*OpenPlugin(const std::string& file))(Work die);

int GetOwnNumber();

// Defined for all systems, in Victim.cpp.
void Print(const std::string& line);
const std::string& GetDeath();
void DieAsRequested();
void DieInPlugin(const std::string& file, Work die);
void WriteToNowhere();
bool InitializeAgain();

}  // namespace zel::crashtest
