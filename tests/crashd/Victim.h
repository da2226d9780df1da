#pragma once

namespace zel::crashtest {

// The first argument that makes a program of these tests die instead of test.
inline constexpr const char* VICTIM = "--victim";

// Sets up crash handling and ends this process as the next arguments tell: the way, the place
// where, and what else is wrong then. A copy that is started as its daemon comes here as well.
int RunVictim(int argc, char** argv);

}  // namespace zel::crashtest
