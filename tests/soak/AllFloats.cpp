#include "zel/core/StringUtils.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <thread>
#include <vector>

// Converts every float to text and back and compares the bits.

namespace {

bool IsRestored(std::uint32_t bits) {
    const auto value = std::bit_cast<float>(bits);
    float restored = 0;
    return zel::StringUtils::FromString(zel::StringUtils::AsString(value), restored, 0) &&
           (std::isnan(value) ? std::isnan(restored)
                              : std::bit_cast<std::uint32_t>(restored) == bits);
}

}  // namespace

int main() {
    constexpr std::uint64_t count = std::uint64_t(1) << 32;
    const unsigned step = std::max(1U, std::thread::hardware_concurrency());
    std::atomic<std::uint64_t> lost{0};
    std::vector<std::jthread> threads;
    for (unsigned first = 0; first < step; ++first) {
        threads.emplace_back([&lost, first, step] {
            for (std::uint64_t bits = first; bits < count; bits += step) {
                if (!IsRestored(static_cast<std::uint32_t>(bits))) {
                    ++lost;
                }
            }
        });
    }
    threads.clear();
    std::cout << count - lost << " of " << count << " floats are restored from their text\n";
    return lost == 0 ? 0 : 1;
}
