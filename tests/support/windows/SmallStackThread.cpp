#include "tests/support/SmallStackThread.h"

#include <windows.h>

namespace zel::test {

namespace {

DWORD WINAPI Call(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return 0;
}

}  // namespace

void RunOnSmallStack(const std::function<void()>& work, std::size_t size) {
    void* const argument = const_cast<std::function<void()>*>(&work);
    const HANDLE thread =
        ::CreateThread(nullptr, size, Call, argument, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
}

}  // namespace zel::test
