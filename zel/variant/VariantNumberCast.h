#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace zel {

// Casts any number, with a defined result for those that don't fit: an integer keeps its low bits,
// a finite floating-point number saturates, and so does infinity if the target is an integer; a NaN
// then gives 0.
template <class Target, class Source>
Target CastNumber(Source value) {
    if constexpr (std::is_floating_point_v<Source> && std::is_integral_v<Target>) {
        // The upper limit may not be exact in the source type; the number after it is.
        constexpr Source above =
            static_cast<Source>(std::numeric_limits<Target>::max() / 2 + 1) * 2;
        constexpr Source lowest = static_cast<Source>(std::numeric_limits<Target>::min());
        if (!(value < above)) {
            return value >= above ? std::numeric_limits<Target>::max() : Target(0);
        }
        return value < lowest ? std::numeric_limits<Target>::min() : static_cast<Target>(value);
    } else if constexpr (std::is_floating_point_v<Source> && sizeof(Source) > sizeof(Target)) {
        constexpr Source most = std::numeric_limits<Target>::max();
        return static_cast<Target>(std::isfinite(value) ? std::clamp(value, -most, most) : value);
    } else {
        return static_cast<Target>(value);
    }
}

}  // namespace zel
