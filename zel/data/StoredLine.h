#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace zel {

// Returns a line number as nodes and rows store it. Later lines than the largest number are stored
// as that number.
inline std::uint32_t StoredLine(std::size_t line) noexcept {
    constexpr std::size_t most = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(line, most));
}

}  // namespace zel
