#include "tests/support/CallWithContext.h"

#include <windows.h>

namespace zel::test {

namespace {

#if defined(_WIN64)

[[gnu::always_inline]] inline void Capture(CONTEXT& context) {
    ::RtlCaptureContext(&context);
}

#else

// The system captures the context of the caller's caller, by the frame pointer.
[[gnu::noinline]] void Capture(CONTEXT& context) {
    static_cast<void>(__builtin_frame_address(0));
    ::RtlCaptureContext(&context);
}

#endif

}  // namespace

void CallWithContext(const std::function<void(const void* context)>& work) {
    CONTEXT context = {};
    Capture(context);
    work(&context);
}

}  // namespace zel::test
