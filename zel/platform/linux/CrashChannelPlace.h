#pragma once

namespace zel::platform {

// Which descriptor the second copy finds its end of the channel at, and the same as a path.
constexpr int CRASH_CHANNEL_PLACE = 3;
constexpr char CRASH_CHANNEL_NAME[] = "/proc/self/fd/3";

}  // namespace zel::platform
