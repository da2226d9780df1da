#include "tests/support/CallWithContext.h"

#include <ucontext.h>

namespace zel::test {

// Exported, as some services find only exported names.
[[gnu::visibility("default")]] void CallWithContext(
    const std::function<void(const void* context)>& work) {
    ucontext_t context = {};
    getcontext(&context);
    work(&context);
}

}  // namespace zel::test
