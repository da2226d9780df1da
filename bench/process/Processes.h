#pragma once

#include <cstddef>

namespace zel::bench {

inline constexpr const char* LIST_PROCESSES = "list 300 processes with their names";

// Ensures that this machine runs at least 300 processes until this program exits. Returns their
// number.
std::size_t CrowdMachine();

}  // namespace zel::bench
