#include "zel/platform/StackTrace.h"

#include "zel/platform/PathName.h"
#include "zel/platform/windows/SymbolService.h"

#include <psapi.h>
#include <vector>

namespace zel::platform {

namespace {

// A corrupt stack can contain a cycle.
constexpr std::size_t MAX_STEPS = 100'000;

struct Registers {
    DWORD machine;
    DWORD64 instruction;
    DWORD64 frame;
    DWORD64 stack;
};

#if defined(_WIN64)

Registers GetRegisters(const CONTEXT& context) noexcept {
    return {IMAGE_FILE_MACHINE_AMD64, context.Rip, context.Rbp, context.Rsp};
}

void ReturnTo(CONTEXT& context, DWORD64 caller) noexcept {
    context.Rip = caller;
    context.Rsp += sizeof(void*);
}

#else

Registers GetRegisters(const CONTEXT& context) noexcept {
    return {IMAGE_FILE_MACHINE_I386, context.Eip, context.Ebp, context.Esp};
}

void ReturnTo(CONTEXT& context, DWORD64 caller) noexcept {
    context.Eip = static_cast<DWORD>(caller);
    context.Esp += sizeof(void*);
}

#endif

// Calls `take` with the context of the function that is running and, one by one, of its callers,
// until it returns false.
template <class Take>
void Unwind(CONTEXT context, Take take) {
    const Registers registers = GetRegisters(context);
    STACKFRAME64 frame = {};
    frame.AddrPC = {registers.instruction, 0, AddrModeFlat};
    frame.AddrFrame = {registers.frame, 0, AddrModeFlat};
    frame.AddrStack = {registers.stack, 0, AddrModeFlat};
    std::size_t steps = 0;
    while (SymbolService::Step(registers.machine, frame, context) && frame.AddrPC.Offset != 0 &&
           ++steps < MAX_STEPS && take(frame.AddrPC.Offset)) {
    }
}

void AddCallersOf(const CONTEXT& context, StackAddresses& stack) {
    bool isCaller = false;
    Unwind(context, [&](DWORD64 address) {
        if (isCaller) {
            // The caller is executing the call, not the instruction after it.
            stack.Add(address - 1);
        }
        return isCaller = true;
    });
}

// After a call through an invalid pointer the return address is on top of the stack.
void WalkFromUnknownCode(CONTEXT context, StackAddresses& stack) {
    std::uintptr_t caller = 0;
    ReadMemory(GetRegisters(context).stack, &caller, sizeof caller);
    if (FindModule(caller) != 0) {
        ReturnTo(context, caller);
        stack.Add(caller - 1);
        AddCallersOf(context, stack);
    }
}

void WalkFromFault(const CONTEXT& context, StackAddresses& stack) {
    const DWORD64 fault = GetRegisters(context).instruction;
    stack.Add(fault);
    if (FindModule(fault) == 0) {
        WalkFromUnknownCode(context, stack);
    } else {
        AddCallersOf(context, stack);
    }
}

[[gnu::noinline]] void WalkFromCall(const void* returnAddress, StackAddresses& stack) {
    CONTEXT context = {};
    ::RtlCaptureContext(&context);
    const auto start = reinterpret_cast<std::uintptr_t>(returnAddress);
    bool isPastStart = false;
    Unwind(context, [&](DWORD64 address) {
        isPastStart = isPastStart || address == start;
        if (isPastStart) {
            stack.Add(address - 1);
        }
        return true;
    });
}

bool IsThisProcess(unsigned long processId) noexcept {
    return processId == 0 || processId == ::GetCurrentProcessId();
}

// The loader's own list isn't asked, which it keeps under a lock.
struct Location {
    explicit Location(std::uint64_t address) noexcept {
        frame.address = address;
        if (const std::uint64_t base = FindModule(address)) {
            frame.moduleOffset = address - base;
            void* const memory = reinterpret_cast<void*>(static_cast<std::uintptr_t>(base));
            ::GetMappedFileNameA(::GetCurrentProcess(), memory, file, sizeof file - 1);
            frame.module = FileOfPath(file);
        }
    }

    StackFrame frame;
    char file[MAX_PATH + 1] = {};
};

void ReportModules(StackTraceSink& sink) {
    const HANDLE process = ::GetCurrentProcess();
    std::vector<HMODULE> modules;
    DWORD size = 0;
    do {
        modules.resize(size / sizeof(HMODULE));
    } while (::EnumProcessModules(process, modules.data(),
                                  static_cast<DWORD>(modules.size() * sizeof(HMODULE)),
                                  &size) != 0 &&
             size > modules.size() * sizeof(HMODULE));
    for (const HMODULE module : modules) {
        char file[MAX_PATH + 1] = {};
        if (::GetModuleFileNameA(module, file, MAX_PATH) != 0) {
            sink.OnModule(file, reinterpret_cast<std::uintptr_t>(module));
        }
    }
}

}  // namespace

const char* StackTraceService() noexcept {
    return "dbghelp";
}

bool PrepareCrashTrace(unsigned long processId) noexcept {
    const SymbolService service(true);
    return IsThisProcess(processId) && service.IsOurs() && SymbolService::Start();
}

bool PrepareStackTrace(unsigned long processId, StackTraceSink& sink) {
    if (!IsThisProcess(processId)) {
        return false;
    }
    ReportModules(sink);
    bool isStarted = false;
    {
        const SymbolService service(false);
        isStarted = SymbolService::Start();
    }
    if (!isStarted) {
        sink.OnFailure("SymInitialize", ::GetLastError(), 0);
    }
    return isStarted;
}

void CollectStack(const void* context, const void* returnAddress, bool isOfCrash,
                  StackAddresses& stack) {
    const SymbolService service(isOfCrash);
    if (context == nullptr) {
        WalkFromCall(returnAddress, stack);
    } else {
        WalkFromFault(*static_cast<const CONTEXT*>(context), stack);
    }
}

void ReportFrame(std::uint64_t address, bool isOfCrash, StackTraceSink& sink) {
    Location location(address);
    Symbol symbol;
    bool isRead = false;
    {
        const SymbolService service(isOfCrash);
        isRead = service.IsOurs();
        if (isRead && location.frame.module != nullptr) {
            SymbolService::Find(address, symbol);
        }
    }
    location.frame.isUnread = !isRead;
    location.frame.function = symbol.HasName() ? symbol.GetName() : nullptr;
    location.frame.file = symbol.file[0] != '\0' ? symbol.file : nullptr;
    location.frame.line = symbol.line;
    sink.OnFrame(location.frame);
}

void ReportUnreadFrame(std::uint64_t address, StackTraceSink& sink) {
    Location location(address);
    location.frame.isUnread = true;
    sink.OnFrame(location.frame);
}

}  // namespace zel::platform
