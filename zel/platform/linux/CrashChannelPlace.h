#pragma once

namespace zel::platform {

// Which descriptor the second copy finds its end of the channel at, and the same as a path.
constexpr int crashChannelPlace = 3;
constexpr char crashChannelName[] = "/proc/self/fd/3";

}  // namespace zel::platform
