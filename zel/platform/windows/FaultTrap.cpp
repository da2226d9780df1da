#include "zel/platform/FaultTrap.h"

#include "zel/platform/windows/GuardedWork.h"
#include "zel/platform/windows/KeptThread.h"

#include <atomic>
#include <csignal>
#include <cstring>

namespace zel::platform {

namespace {

// Milliseconds. The second is more than a handler takes.
constexpr DWORD OWNER_TIMEOUT = 5000;
constexpr DWORD HANDLER_TIMEOUT = 10000;

// The code of an exception of C++. If the filter continues, the runtime calls std::terminate.
constexpr DWORD CPP_EXCEPTION = 0x20474343;

// The thread that failed first; its fault is the one that is handled.
constinit std::atomic<DWORD> s_owner{0};
constinit FaultRecord s_fault = {};
constinit FaultHandler s_handler = nullptr;

// Handles the fault: an overflown stack has no room for that, and a walk of its own stack would
// find the handler's calls.
constinit KeptThread s_thread;

// The first overflow, and the stack on which its thread waits.
constinit std::atomic<EXCEPTION_POINTERS*> s_overflow{nullptr};
alignas(16) constinit char s_stack[64 * 1024] = {};

// Set before the first fault.
constinit FaultFilter s_filter = nullptr;
constinit LPTOP_LEVEL_EXCEPTION_FILTER s_previousFilter = nullptr;
constinit __p_sig_fn_t s_previousAbort = SIG_DFL;

// Returns if the calling thread isn't one that handles a fault.
void EndFaultOfHandler() noexcept {
    AbandonGuardedWork();
    if (s_thread.IsCurrent() || s_owner == ::GetCurrentThreadId()) {
        EndByFault(s_fault);
    }
}

LONG WINAPI FilterFault(EXCEPTION_POINTERS* pointers) {
    const DWORD error = ::GetLastError();
    EndFaultOfHandler();
    if (s_previousFilter != nullptr && s_previousFilter(pointers) == EXCEPTION_CONTINUE_EXECUTION) {
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (pointers->ExceptionRecord->ExceptionCode == CPP_EXCEPTION) {
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    ::SetLastError(error);
    return s_filter(pointers);
}

void HandleOverflow() {
    EndFaultOfHandler();
    s_filter(s_overflow);
}

// Calls a function that doesn't return on another stack.
[[noreturn]] void SwitchStack(char* end, void (*function)()) noexcept {
    constexpr std::size_t parameters = 32;
#if defined(_WIN64)
    asm volatile("movq %0, %%rsp\n\tcallq *%1" : : "r"(end - parameters), "r"(function) : "memory");
#else
    asm volatile("movl %0, %%esp\n\tcalll *%1" : : "r"(end - parameters), "r"(function) : "memory");
#endif
    __builtin_unreachable();
}

// The system doesn't call the filter of a fault after an overflow of the stack, and leaves less of
// it than a wait needs.
LONG WINAPI FilterOverflow(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode != EXCEPTION_STACK_OVERFLOW) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    EXCEPTION_POINTERS* none = nullptr;
    if (s_overflow.compare_exchange_strong(none, pointers)) {
        SwitchStack(s_stack + sizeof(s_stack), HandleOverflow);
    }
    for (;;) {
        ::Sleep(INFINITE);
    }
}

// Makes the context that of the caller.
void LeaveFunction([[maybe_unused]] CONTEXT& context) noexcept {
#if defined(_WIN64)
    DWORD64 base = 0;
    void* data = nullptr;
    DWORD64 frame = 0;
    RUNTIME_FUNCTION* const function = ::RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    ::RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &data, &frame,
                       nullptr);
#endif
}

void* GetInstruction(const CONTEXT& context) noexcept {
#if defined(_WIN64)
    return reinterpret_cast<void*>(context.Rip);
#else
    return reinterpret_cast<void*>(context.Eip);
#endif
}

// Abort, std::terminate and exceptions that no code catches.
void HandleAbort(int signal) {
    const DWORD error = ::GetLastError();
    // On 32-bit systems the captured context is the caller's already, by way of the frame pointer.
    static_cast<void>(__builtin_frame_address(0));
    CONTEXT context = {};
    ::RtlCaptureContext(&context);
    LeaveFunction(context);
    if (s_previousAbort != SIG_DFL && s_previousAbort != SIG_IGN && s_previousAbort != SIG_ERR) {
        s_previousAbort(signal);
    }
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = static_cast<DWORD>(EXCEPTION_NONCONTINUABLE_EXCEPTION);
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = GetInstruction(context);
    EXCEPTION_POINTERS pointers = {&record, &context};
    ::SetLastError(error);
    EndFaultOfHandler();
    s_filter(&pointers);
}

FaultRecord RecordOf(const EXCEPTION_POINTERS& pointers) noexcept {
    const EXCEPTION_RECORD& exception = *pointers.ExceptionRecord;
    return {exception.ExceptionCode,
            static_cast<int>(exception.ExceptionFlags),
            static_cast<int>(::GetLastError()),
            ::GetCurrentThreadId(),
            reinterpret_cast<std::uintptr_t>(exception.ExceptionAddress),
            pointers.ContextRecord};
}

void CallHandler(void*) {
    s_handler(s_fault);
}

}  // namespace

void CatchFaults(FaultFilter filter) noexcept {
    s_filter = filter;
    s_thread.Start();
    StartGuardedWork();
    s_previousFilter = ::SetUnhandledExceptionFilter(FilterFault);
    ::AddVectoredExceptionHandler(1, FilterOverflow);
    s_previousAbort = std::signal(SIGABRT, HandleAbort);
}

void HandleFault(ExceptionPointers& pointers, FaultHandler handler) noexcept {
    const FaultRecord fault = RecordOf(pointers);
    DWORD none = 0;
    if (!s_owner.compare_exchange_strong(none, fault.thread)) {
        ::Sleep(OWNER_TIMEOUT);
        EndByFault(fault);
    }
    s_fault = fault;
    s_handler = handler;
    if (s_thread.IsRunning()) {
        s_thread.Begin(CallHandler, nullptr);
        s_thread.Wait(HANDLER_TIMEOUT);
    } else {
        CallHandler(nullptr);
    }
    EndByFault(fault);
}

void EndByFault(const FaultRecord& fault) noexcept {
    const UINT code = fault.error != 0 ? static_cast<UINT>(fault.error) : fault.code;
    for (;;) {
        ::TerminateProcess(::GetCurrentProcess(), code);
    }
}

void WriteToStandardError(const char* text) noexcept {
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(std::strlen(text)),
                &written, nullptr);
}

}  // namespace zel::platform
