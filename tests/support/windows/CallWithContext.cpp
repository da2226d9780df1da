#include "tests/support/CallWithContext.h"

#include <windows.h>

namespace zel::test {

void CallWithContext(const std::function<void(const void* context)>& work) {
    CONTEXT context = {};
    ::RtlCaptureContext(&context);
    work(&context);
}

}  // namespace zel::test
