#pragma once

#include <functional>

namespace zel::test {

// Calls `work` with the machine context of this function.
void CallWithContext(const std::function<void(const void* context)>& work);

}  // namespace zel::test
