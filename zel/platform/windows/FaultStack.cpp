#include "zel/platform/FaultStack.h"

#include <windows.h>

namespace zel::platform {

// The system keeps the end of each stack free for the handling of its overflow; this enlarges it.
void InstallFaultStack() noexcept {
    ULONG size = 64 * 1024;
    ::SetThreadStackGuarantee(&size);
}

FaultStack::FaultStack() noexcept {
    InstallFaultStack();
}

FaultStack::~FaultStack() = default;

}  // namespace zel::platform
