#pragma once

namespace zel::platform {

/// The descriptor at which the helper process finds its end of the channel, and its path.
constexpr int INHERITED_CHANNEL = 3;
constexpr char INHERITED_CHANNEL_NAME[] = "/proc/self/fd/3";

/// The descriptor to which the helper process writes one byte when it listens.
constexpr int INHERITED_READY = 4;

/// Returns whether this process has inherited the channel of a program that still runs.
bool HasInheritedChannel() noexcept;

}  // namespace zel::platform
