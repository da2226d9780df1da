#include "zel/platform/linux/Symbolizer.h"

#include <array>
#include <atomic>
#include <backtrace.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <link.h>
#include <string_view>
#include <sys/auxv.h>
#include <unistd.h>
#include <unwind.h>

// The linker redirects the library's calls of dl_iterate_phdr and backtrace_open to these.
extern "C" {
int __real_dl_iterate_phdr(int (*take)(dl_phdr_info*, std::size_t, void*), void* argument);
int __wrap_dl_iterate_phdr(int (*take)(dl_phdr_info*, std::size_t, void*), void* argument);
int __real_backtrace_open(const char* file, backtrace_error_callback onError, void* data,
                          int* isMissing);
int __wrap_backtrace_open(const char* file, backtrace_error_callback onError, void* data,
                          int* isMissing);
}

namespace zel::platform {

namespace {

constexpr int THREADED = 1;
constexpr int NO_SUCH_DATA = -1;

// Created once and never freed, because the library can't.
std::atomic<backtrace_state*> s_state{nullptr};

void IgnoreError(void*, const char*, int) {}

// /proc/self/exe names the dynamic loader if the program was started through it, and is unreadable
// after the main thread has exited.
const char* ProgramFile() noexcept {
    if (getauxval(AT_BASE) == 0) {
        return reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    }
    const char* const file = "/proc/self/exe";
    return access(file, R_OK) == 0 ? file : "/proc/thread-self/exe";
}

// Looks up one address.
class Lookup {
public:
    Lookup(const StackFrame& frame, StackTraceSink& sink) : m_frame(frame), m_sink(sink) {}

    // A frame without names is reported as unread if a look-up has failed, in this call or before:
    // the library reports the failure of a module only once. Returns whether one has.
    bool ReportWith(backtrace_state* state, bool hasFailed) {
        m_hasFailed = hasFailed;
        const auto address = static_cast<std::uintptr_t>(m_frame.address);
        m_service = "backtrace_pcinfo";
        backtrace_pcinfo(state, address, CountFunction, OnError, this);
        m_service = "backtrace_syminfo";
        backtrace_syminfo(state, address, OnSymbol, OnError, this);
        if (m_functions == 0) {
            m_frame.function = m_symbol;
            m_frame.isUnread = m_hasFailed && m_symbol == nullptr;
            m_sink.OnFrame(m_frame);
            return m_hasFailed;
        }
        m_service = "backtrace_pcinfo";
        backtrace_pcinfo(state, address, OnFunction, OnError, this);
        return m_hasFailed;
    }

private:
    static int CountFunction(void* lookup, std::uintptr_t, const char*, int, const char*) {
        ++static_cast<Lookup*>(lookup)->m_functions;
        return 0;
    }

    static int OnFunction(void* data, std::uintptr_t, const char* file, int line,
                          const char* function) {
        Lookup& lookup = *static_cast<Lookup*>(data);
        const bool isOutermost = --lookup.m_functions == 0;
        lookup.m_frame.function = isOutermost ? lookup.ChooseName(function) : function;
        lookup.m_frame.file = file;
        lookup.m_frame.line = line;
        lookup.m_sink.OnFrame(lookup.m_frame);
        return 0;
    }

    static void OnSymbol(void* lookup, std::uintptr_t, const char* symbol, std::uintptr_t,
                         std::uintptr_t) {
        static_cast<Lookup*>(lookup)->m_symbol = symbol;
    }

    static void OnError(void* data, const char*, int error) {
        Lookup& lookup = *static_cast<Lookup*>(data);
        if (error != NO_SUCH_DATA) {
            lookup.m_hasFailed = true;
            lookup.m_sink.OnFailure(lookup.m_service, static_cast<unsigned long>(error),
                                    lookup.m_frame.address);
        }
    }

    // Debug data has only the bare name of a function with internal linkage; the symbol table has
    // its scope and arguments.
    const char* ChooseName(const char* function) const {
        const bool isMangled = function != nullptr && std::strncmp(function, "_Z", 2) == 0;
        return isMangled || m_symbol == nullptr ? function : m_symbol;
    }

    StackFrame m_frame;
    StackTraceSink& m_sink;
    const char* m_service = "";
    const char* m_symbol = nullptr;
    std::size_t m_functions = 0;
    bool m_hasFailed = false;
};

// The only module that the library sees; null for all loaded ones. By default it reads all of them
// at the first look-up, under the loader's lock.
constinit std::atomic<const link_map*> s_onlyModule{nullptr};

// A module that the walk of a crash has reached.
struct CrashModule {
    // Creates the state, if there is none yet. Returns false, with the system's error number, if
    // the module can't be read.
    bool Open() {
        if (state != nullptr) {
            return true;
        }
        const char* const file = module->l_name[0] == '\0' ? ProgramFile() : module->l_name;
        // For a missing file the library would use the program's.
        if (access(file, R_OK) == 0) {
            state = backtrace_create_state(file, THREADED, IgnoreError, nullptr);
        }
        return state != nullptr;
    }

    const link_map* module = nullptr;
    backtrace_state* state = nullptr;
    bool isBusy = false;     // still true after a look-up that was abandoned
    bool isDamaged = false;  // a look-up has failed
};

class CrashModules {
public:
    // Returns null if there are too many.
    CrashModule* Find(const link_map* module) {
        for (CrashModule& known : m_modules) {
            if (known.module == module || known.module == nullptr) {
                known.module = module;
                return &known;
            }
        }
        return nullptr;
    }

private:
    std::array<CrashModule, 64> m_modules = {};
};

constinit CrashModules s_crashModules;

const link_map* ModuleOf(void* address) {
    dl_find_object object = {};
    return _dl_find_object(address, &object) == 0 ? object.dlfo_link_map : nullptr;
}

template <class Function>
bool Holds(const link_map& module, Function* function) {
    return ModuleOf(reinterpret_cast<void*>(function)) == &module;
}

// Reading the separate debug data of the C and C++ runtime takes a tenth of a second, and a crash
// report rarely needs its lines.
bool IsRuntime(const link_map& module) {
    return module.l_name[0] != '\0' &&
           (Holds(module, std::abort) || Holds(module, std::terminate) ||
            Holds(module, _Unwind_Backtrace));
}

void ReportUnread(StackFrame frame, StackTraceSink& sink) {
    frame.isUnread = true;
    sink.OnFrame(frame);
}

}  // namespace

const char* Symbolizer::GetName() noexcept {
    return "libbacktrace";
}

bool Symbolizer::Prepare() noexcept {
    if (s_state.load(std::memory_order_acquire) != nullptr) {
        return true;
    }
    backtrace_state* const state =
        backtrace_create_state(ProgramFile(), THREADED, IgnoreError, nullptr);
    backtrace_state* none = nullptr;
    // Of two concurrent callers the second finds the state of the first.
    return state != nullptr &&
           (s_state.compare_exchange_strong(none, state, std::memory_order_acq_rel) ||
            none != nullptr);
}

void Symbolizer::Report(const StackFrame& frame, StackTraceSink& sink) {
    Lookup(frame, sink).ReportWith(s_state.load(std::memory_order_acquire), false);
}

void Symbolizer::ReportOfCrash(const StackFrame& frame, StackTraceSink& sink) {
    const link_map* const module = ModuleOf(reinterpret_cast<void*>(frame.address));
    if (module == nullptr) {
        sink.OnFrame(frame);
        return;
    }
    CrashModule* const known = s_crashModules.Find(module);
    if (known == nullptr || known->isBusy) {
        ReportUnread(frame, sink);
        return;
    }
    known->isBusy = true;
    if (known->Open()) {
        s_onlyModule = module;
        known->isDamaged = Lookup(frame, sink).ReportWith(known->state, known->isDamaged);
        s_onlyModule = nullptr;
    } else {
        sink.OnFailure(GetName(), static_cast<unsigned long>(errno), frame.address);
        ReportUnread(frame, sink);
    }
    known->isBusy = false;
}

}  // namespace zel::platform

int __wrap_dl_iterate_phdr(int (*take)(dl_phdr_info*, std::size_t, void*), void* argument) {
    const link_map* const module = zel::platform::s_onlyModule.load();
    if (module == nullptr) {
        return __real_dl_iterate_phdr(take, argument);
    }
    // An empty name means the file that the state was made with.
    dl_phdr_info info = {};
    info.dlpi_name = "";
    info.dlpi_addr = module->l_addr;
    return take(&info, sizeof(info), argument);
}

int __wrap_backtrace_open(const char* file, backtrace_error_callback onError, void* data,
                          int* isMissing) {
    const link_map* const module = zel::platform::s_onlyModule.load();
    if (module == nullptr || !std::string_view(file).starts_with("/usr/lib/debug/") ||
        !zel::platform::IsRuntime(*module)) {
        return __real_backtrace_open(file, onError, data, isMissing);
    }
    if (isMissing != nullptr) {
        *isMissing = 1;
    }
    return -1;
}
