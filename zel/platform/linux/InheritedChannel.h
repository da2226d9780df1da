#pragma once

namespace zel::platform {

/// The descriptor at which the helper process finds its end of the channel, and its path.
constexpr int INHERITED_CHANNEL = 3;
constexpr char INHERITED_CHANNEL_NAME[] = "/proc/self/fd/3";

}  // namespace zel::platform
