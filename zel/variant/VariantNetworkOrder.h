#pragma once

#include <cstddef>

namespace zel {

// Copies `count` units of `width` bytes from host to network order, or back. The two blocks are the
// same or don't overlap, and need no alignment.
void CopyToNetworkOrder(const void* from, void* to, std::size_t count, std::size_t width);

template <class T>
void StoreInNetworkOrder(T value, void* to) {
    CopyToNetworkOrder(&value, to, 1, sizeof value);
}

template <class T>
T LoadFromNetworkOrder(const void* from) {
    T value{};
    CopyToNetworkOrder(from, &value, 1, sizeof value);
    return value;
}

}  // namespace zel
