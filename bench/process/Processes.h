#pragma once

#include <cstddef>

namespace zel::bench {

inline constexpr const char* LIST_PROCESSES = "list 300 processes with their names";

// Sees to it that this machine has 300 processes at the least, as long as this program runs, and
// gives their number.
std::size_t CrowdMachine();

}  // namespace zel::bench
