#include "zel/platform/StackTrace.h"

#include "zel/platform/linux/MachineContext.h"
#include "zel/platform/linux/Symbolizer.h"
#include "zel/platform/PathName.h"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <errno.h>
#include <link.h>
#include <unistd.h>
#include <unwind.h>

namespace zel::platform {

namespace {

constexpr std::size_t HEAD_FRAMES = 32;
constexpr std::size_t TAIL_FRAMES = 32;
// A destroyed stack can lead in a circle.
constexpr std::size_t MOST_STEPS = 1'000'000;

// The start of the function around an instruction; null where the tables for unwinding have none.
void* FindFunction(std::uintptr_t instruction) {
    // The unwinder takes a return address and looks one byte ahead of it.
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

// Tells the first frames as they come, so that what is known is out before a destroyed stack ends
// the walk by a fault, and the last ones when the walk is over.
class StackWalk {
public:
    StackWalk(bool isOfCrash, StackTraceSink& sink)
        : m_tell(isOfCrash ? Symbolizer::TellOfCrash : Symbolizer::Tell), m_sink(sink) {}

    void Add(std::uintptr_t address) {
        if (m_count < HEAD_FRAMES) {
            m_tell(LocateFrame(address), m_sink);
        } else {
            m_tail[m_count % TAIL_FRAMES] = address;
        }
        ++m_count;
    }

    // Adds the callers of the function that is, or stands in a call, at `instruction`.
    void AddCallersOf(std::uintptr_t instruction) {
        m_start = instruction;
        m_startFunction = FindFunction(instruction);
        _Unwind_Backtrace(OnUnwound, this);
    }

    bool Finish() {
        const std::size_t late = m_count - std::min(m_count, HEAD_FRAMES);
        const std::size_t kept = std::min(late, TAIL_FRAMES);
        if (late > kept) {
            m_sink.OnGap(late - kept);
        }
        for (std::size_t i = m_count - kept; i < m_count; ++i) {
            m_tell(LocateFrame(m_tail[i % TAIL_FRAMES]), m_sink);
        }
        return m_count != 0;
    }

private:
    static _Unwind_Reason_Code OnUnwound(_Unwind_Context* context, void* walk) {
        return static_cast<StackWalk*>(walk)->Follow(context);
    }

    _Unwind_Reason_Code Follow(_Unwind_Context* context) {
        int isInterrupted = 0;
        const std::uintptr_t next = _Unwind_GetIPInfo(context, &isInterrupted);
        // What the caller of a function is executing is the call, not what comes behind it.
        const std::uintptr_t current = isInterrupted != 0 ? next : next - 1;
        if (next == 0 || ++m_steps > MOST_STEPS) {
            return _URC_END_OF_STACK;
        }
        if (m_isBehindStart) {
            Add(current);
        } else {
            m_isBehindStart = next == m_start || IsInStartFunction(current);
        }
        return _URC_NO_REASON;
    }

    // A context that no signal made doesn't stand on the stack itself; its function does.
    bool IsInStartFunction(std::uintptr_t instruction) const {
        return m_startFunction != nullptr && FindFunction(instruction) == m_startFunction;
    }

    void (*const m_tell)(const StackFrame&, StackTraceSink&);
    StackTraceSink& m_sink;
    std::uintptr_t m_start = 0;
    void* m_startFunction = nullptr;
    bool m_isBehindStart = false;
    std::size_t m_steps = 0;
    std::size_t m_count = 0;
    std::array<std::uintptr_t, TAIL_FRAMES> m_tail = {};
};

// Unwinding passes the context that the kernel left on the stack, so a step back that is made in it
// is seen there.
void WalkFromNowhere(ucontext_t& context, StackWalk& walk) {
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
        WalkFromNowhere(context, walk);
    } else {
        walk.AddCallersOf(fault);
    }
}

bool IsThisProcess(unsigned long processId) {
    return processId == 0 || processId == static_cast<unsigned long>(::getpid());
}

int TellModule(dl_phdr_info* module, std::size_t, void* sink) {
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
    dl_iterate_phdr(TellModule, &sink);
    return Symbolizer::Prepare();
}

[[gnu::noinline]] bool WalkStack(const void* context, bool isOfCrash, StackTraceSink& sink) {
    StackWalk walk(isOfCrash, sink);
    if (context == nullptr) {
        walk.AddCallersOf(reinterpret_cast<std::uintptr_t>(__builtin_return_address(0)));
    } else {
        // It is as it was when this returns.
        WalkFromFault(*static_cast<ucontext_t*>(const_cast<void*>(context)), walk);
    }
    return walk.Finish();
}

}  // namespace zel::platform
