#include "zel/core/StringUtils.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <thread>
#include <vector>

// Writes every float there is as text, reads it back and compares the bits.

namespace {

constexpr std::uint64_t COUNT = std::uint64_t(1) << 32;
constexpr std::uint64_t BLOCK = std::uint64_t(1) << 20;

bool ComesBack(float value) {
    float back = 0;
    if (!zel::StringUtils::FromString(zel::StringUtils::AsString(value), back, 0)) {
        return false;
    }
    return std::isnan(value)
               ? std::isnan(back)
               : std::bit_cast<std::uint32_t>(back) == std::bit_cast<std::uint32_t>(value);
}

}  // namespace

int main() {
    std::atomic<std::uint64_t> next{0};
    std::atomic<std::uint64_t> lost{0};
    const auto work = [&] {
        for (std::uint64_t begin = next.fetch_add(BLOCK); begin < COUNT;
             begin = next.fetch_add(BLOCK)) {
            for (std::uint64_t bits = begin; bits < begin + BLOCK; ++bits) {
                if (!ComesBack(std::bit_cast<float>(static_cast<std::uint32_t>(bits)))) {
                    ++lost;
                }
            }
        }
    };
    std::vector<std::thread> workers(std::max(1U, std::thread::hardware_concurrency()));
    for (std::thread& worker : workers) {
        worker = std::thread(work);
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    std::cout << COUNT - lost << " of " << COUNT << " floats come back from their text\n";
    return lost == 0 ? 0 : 1;
}
