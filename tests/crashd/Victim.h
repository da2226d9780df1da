#pragma once

#include "zel/crashd/CrashDaemon.h"

#include <map>
#include <string>

// No sanitizer may report before the fault.
#define ZEL_UNCHECKED __attribute__((no_sanitize("undefined", "address", "thread")))
// Where only exported names can be looked up, these must be among them.
#define ZEL_EXPORTED __attribute__((visibility("default")))

namespace zel::crashtest {

// The first argument that makes a program of these tests a victim.
inline constexpr const char* VICTIM = "--victim";

using Work = void (*)();

// Sets up crash handling and ends this process as the next arguments say: the death, its place, and
// the program's shape. A helper process that is started as its daemon runs this as well.
int RunVictim(int argc, char** argv);

// Runs the death.
ZEL_EXPORTED void DieAsRequested();

ZEL_EXPORTED void WriteToNowhere();

// Calls `die` in a library that is opened for this.
void DieInPlugin(const std::string& file, Work die);

// Returns the number after the colon of the death's name.
int GetDeathCount();

// Sets crash handling up as RunVictim does.
bool Initialize(CrashCallback callback);

// What programs do before Initialize, and by the same names with "late " after it and "end " at the
// end of main. In the helper process only the first happens.
const std::map<std::string, Work>& GetShapes();

// Returns the callback of a shape, null for the others.
CrashCallback MakeCallback(const std::string& shape);

}  // namespace zel::crashtest
