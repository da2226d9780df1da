#include "zel/platform/StackTrace.h"

#include "zel/platform/linux/MachineContext.h"
#include "zel/platform/linux/Symbolizer.h"
#include "zel/platform/PathName.h"

#include <dlfcn.h>
#include <errno.h>
#include <link.h>
#include <unistd.h>
#include <unwind.h>

namespace zel::platform {

namespace {

// A corrupt stack can contain a cycle.
constexpr std::size_t MAX_STEPS = 1'000'000;

// Returns the start of the function around an instruction, null if the unwind tables have none.
void* FindFunction(std::uintptr_t instruction) {
    // The unwinder expects a return address and looks up the byte before it.
    return _Unwind_FindEnclosingFunction(reinterpret_cast<void*>(instruction + 1));
}

const char* ModuleFile(const char* loaderName) {
    return loaderName[0] == '\0' ? program_invocation_name : loaderName;
}

// Unlike dladdr this takes no lock: another thread may be inside dlopen for long.
StackFrame LocateFrame(std::uintptr_t address) {
    StackFrame frame;
    frame.address = address;
    dl_find_object object = {};
    if (_dl_find_object(reinterpret_cast<void*>(address), &object) == 0) {
        const char* const file = ModuleFile(object.dlfo_link_map->l_name);
        frame.module = FileOfPath(file);
        frame.moduleOffset = address - object.dlfo_link_map->l_addr;
    }
    return frame;
}

// Follows the calls and keeps those from the start on.
class StackWalk {
public:
    explicit StackWalk(StackAddresses& stack) : m_stack(stack) {}

    void Add(std::uintptr_t address) { m_stack.Add(address); }

    // Adds the callers of the function that is executing `instruction`.
    void AddCallersOf(std::uintptr_t instruction) {
        m_start = instruction;
        m_startFunction = FindFunction(instruction);
        _Unwind_Backtrace(OnUnwound, this);
    }

    // Adds the function that a call returns to, and its callers.
    void AddFrom(const void* returnAddress) {
        m_start = reinterpret_cast<std::uintptr_t>(returnAddress);
        m_isStartAdded = true;
        _Unwind_Backtrace(OnUnwound, this);
    }

private:
    static _Unwind_Reason_Code OnUnwound(_Unwind_Context* context, void* walk) {
        return static_cast<StackWalk*>(walk)->Follow(context);
    }

    _Unwind_Reason_Code Follow(_Unwind_Context* context) {
        int isInterrupted = 0;
        const std::uintptr_t next = _Unwind_GetIPInfo(context, &isInterrupted);
        // The caller is executing the call, not the instruction after it.
        const std::uintptr_t current = isInterrupted != 0 ? next : next - 1;
        if (next == 0 || ++m_steps > MAX_STEPS) {
            return _URC_END_OF_STACK;
        }
        const bool isPastStart = m_isPastStart;
        m_isPastStart = isPastStart || next == m_start || IsInStartFunction(current);
        if (isPastStart || (m_isPastStart && m_isStartAdded)) {
            Add(current);
        }
        return _URC_NO_REASON;
    }

    // Without a signal the context isn't on the stack, but its function is.
    bool IsInStartFunction(std::uintptr_t instruction) const {
        return m_startFunction != nullptr && FindFunction(instruction) == m_startFunction;
    }

    StackAddresses& m_stack;
    std::uintptr_t m_start = 0;
    void* m_startFunction = nullptr;
    bool m_isStartAdded = false;
    bool m_isPastStart = false;
    std::size_t m_steps = 0;
};

// Unwinding reads the context that the kernel left on the stack, so a step back that is made in the
// context affects it.
void WalkFromUnknownCode(ucontext_t& context, StackWalk& walk) {
    const std::uintptr_t caller = GetReturnAddress(context);
    if (FindFunction(caller - 1) == nullptr) {
        return;
    }
    const mcontext_t saved = context.uc_mcontext;
    ReturnToCaller(context);
    walk.Add(caller - 1);
    walk.AddCallersOf(caller);
    context.uc_mcontext = saved;
}

void WalkFromFault(ucontext_t& context, StackWalk& walk) {
    const std::uintptr_t fault = GetInstruction(context);
    walk.Add(fault);
    if (FindFunction(fault) == nullptr) {
        WalkFromUnknownCode(context, walk);
    } else {
        walk.AddCallersOf(fault);
    }
}

bool IsThisProcess(unsigned long processId) {
    return processId == 0 || processId == static_cast<unsigned long>(::getpid());
}

int ReportModule(dl_phdr_info* module, std::size_t, void* sink) {
    static_cast<StackTraceSink*>(sink)->OnModule(ModuleFile(module->dlpi_name), module->dlpi_addr);
    return 0;
}

}  // namespace

const char* StackTraceService() noexcept {
    return Symbolizer::GetName();
}

bool PrepareCrashTrace(unsigned long processId) noexcept {
    return IsThisProcess(processId) && Symbolizer::Prepare();
}

bool PrepareStackTrace(unsigned long processId, StackTraceSink& sink) {
    if (!IsThisProcess(processId)) {
        return false;
    }
    dl_iterate_phdr(ReportModule, &sink);
    return Symbolizer::Prepare();
}

void CollectStack(const void* context, const void* returnAddress, bool, StackAddresses& stack) {
    StackWalk walk(stack);
    if (context == nullptr) {
        walk.AddFrom(returnAddress);
    } else {
        // Unchanged again when this returns.
        WalkFromFault(*static_cast<ucontext_t*>(const_cast<void*>(context)), walk);
    }
}

void ReportFrame(std::uint64_t address, bool isOfCrash, StackTraceSink& sink) {
    const StackFrame frame = LocateFrame(static_cast<std::uintptr_t>(address));
    isOfCrash ? Symbolizer::ReportOfCrash(frame, sink) : Symbolizer::Report(frame, sink);
}

void ReportUnreadFrame(std::uint64_t address, StackTraceSink& sink) {
    StackFrame frame = LocateFrame(static_cast<std::uintptr_t>(address));
    frame.isUnread = true;
    sink.OnFrame(frame);
}

}  // namespace zel::platform
