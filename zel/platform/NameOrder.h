#pragma once

#include <string_view>

namespace zel::platform {

// Compares two names, or whole paths, with no regard to case: negative, 0 or positive, as the first
// comes before the second, is the same name, or comes behind it. A new system must offer this one.
// It is a strict order of all byte sequences, folds at least the ASCII letters, to lower case, and
// doesn't depend on the locale.
int CompareNames(std::string_view a, std::string_view b) noexcept;

}  // namespace zel::platform
