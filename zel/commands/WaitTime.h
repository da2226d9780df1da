#pragma once

#include <limits>

namespace zel {

// The whole milliseconds in so many seconds, cut towards zero, for a wait that is waited again
// while it wasn't enough: 0 for a negative time or a NaN, the largest int for more than it holds.
inline int ToWaitTime(double seconds) noexcept {
    constexpr int longest = std::numeric_limits<int>::max();
    const double milliseconds = seconds * 1000;
    if (!(milliseconds > 0)) {
        return 0;
    }
    return milliseconds < longest ? static_cast<int>(milliseconds) : longest;
}

}  // namespace zel
