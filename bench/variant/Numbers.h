#pragma once

#include <cstddef>
#include <random>
#include <type_traits>
#include <vector>

namespace zel::bench {

// Returns deterministic random numbers: integers of the full range of T, or floating-point numbers
// between -1000 and 1000.
template <class T>
std::vector<T> MakeNumbers(std::size_t count) {
    std::mt19937_64 random(count);
    std::vector<T> numbers(count);
    for (T& number : numbers) {
        if constexpr (std::is_integral_v<T>) {
            number = static_cast<T>(random());
        } else {
            number = std::uniform_real_distribution<T>(-1000, 1000)(random);
        }
    }
    return numbers;
}

}  // namespace zel::bench
