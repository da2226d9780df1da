#pragma once

#include <string_view>

namespace zel::platform {

// Compares two names or paths without regard to case. Returns a negative value, 0 or a positive
// value if `a` is ordered before, equal to or ordered after `b`. Every system implements it: a
// strict weak order of all byte sequences that folds at least the ASCII letters, to lower case, and
// doesn't depend on the locale.
int CompareNames(std::string_view a, std::string_view b) noexcept;

}  // namespace zel::platform
