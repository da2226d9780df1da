#pragma once

#include <cstddef>
#include <functional>

namespace zel::test {

// Calls `work` on a thread with a stack of `size` bytes and waits for it.
void RunOnSmallStack(const std::function<void()>& work, std::size_t size = 256 * 1024);

}  // namespace zel::test
