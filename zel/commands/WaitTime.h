#pragma once

#include <limits>

namespace zel {

// Converts seconds to whole milliseconds, rounded towards zero, for a wait that is repeated if it
// was too short. Returns 0 for a negative time or a NaN, INT_MAX for a time that doesn't fit.
inline int ToWaitTime(double seconds) noexcept {
    constexpr int longest = std::numeric_limits<int>::max();
    const double milliseconds = seconds * 1000;
    if (!(milliseconds > 0)) {
        return 0;
    }
    return milliseconds < longest ? static_cast<int>(milliseconds) : longest;
}

}  // namespace zel
