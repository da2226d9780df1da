#include "zel/platform/NameOrder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zel::platform {

namespace {

int Fold(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte;
}

// Returns the length of a common prefix in whole words. Neighbours in a listing share most of their
// length.
std::size_t SkipEqualWords(std::string_view a, std::string_view b, std::size_t length) noexcept {
    std::size_t at = 0;
    for (; at + sizeof(std::uint64_t) <= length; at += sizeof(std::uint64_t)) {
        std::uint64_t wordOfA = 0;
        std::uint64_t wordOfB = 0;
        std::memcpy(&wordOfA, a.data() + at, sizeof wordOfA);
        std::memcpy(&wordOfB, b.data() + at, sizeof wordOfB);
        if (wordOfA != wordOfB) {
            break;
        }
    }
    return at;
}

}  // namespace

int CompareNames(std::string_view a, std::string_view b) noexcept {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t at = SkipEqualWords(a, b, common); at < common; ++at) {
        const int difference = Fold(a[at]) - Fold(b[at]);
        if (difference != 0) {
            return difference;
        }
    }
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

}  // namespace zel::platform
