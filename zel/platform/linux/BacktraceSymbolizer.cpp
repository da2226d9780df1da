#include "zel/platform/linux/Symbolizer.h"

#include <atomic>
#include <backtrace.h>
#include <cstring>

namespace zel::platform {

namespace {

constexpr int threaded = 1;
constexpr int noSuchData = -1;

// Made once and never freed: the library has no way to.
std::atomic<backtrace_state*> s_state{nullptr};

void IgnoreError(void*, const char*, int) {}

// What is known of one address.
class Lookup {
public:
    Lookup(const StackFrame& frame, StackTraceSink& sink) : m_frame(frame), m_sink(sink) {}

    void Tell() {
        backtrace_state* const state = s_state.load(std::memory_order_acquire);
        const auto address = static_cast<std::uintptr_t>(m_frame.address);
        m_service = "backtrace_pcinfo";
        backtrace_pcinfo(state, address, CountFunction, OnError, this);
        m_service = "backtrace_syminfo";
        backtrace_syminfo(state, address, OnSymbol, OnError, this);
        if (m_functions == 0) {
            m_frame.function = m_symbol;
            m_sink.OnFrame(m_frame);
            return;
        }
        m_service = "backtrace_pcinfo";
        backtrace_pcinfo(state, address, OnFunction, OnError, this);
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
        const Lookup& lookup = *static_cast<Lookup*>(data);
        if (error != noSuchData) {
            lookup.m_sink.OnFailure(lookup.m_service, static_cast<unsigned long>(error),
                                    lookup.m_frame.address);
        }
    }

    // Debug data has no more than the bare name of a function that no other file sees; the symbol
    // table has its scope and its arguments too.
    const char* ChooseName(const char* function) const {
        const bool isWhole = function != nullptr && std::strncmp(function, "_Z", 2) == 0;
        return isWhole || m_symbol == nullptr ? function : m_symbol;
    }

    StackFrame m_frame;
    StackTraceSink& m_sink;
    const char* m_service = "";
    const char* m_symbol = nullptr;
    std::size_t m_functions = 0;
};

}  // namespace

const char* Symbolizer::GetName() noexcept {
    return "libbacktrace";
}

bool Symbolizer::Prepare() noexcept {
    if (s_state.load(std::memory_order_acquire) != nullptr) {
        return true;
    }
    backtrace_state* const state = backtrace_create_state(nullptr, threaded, IgnoreError, nullptr);
    backtrace_state* none = nullptr;
    // Of two threads that come here at once the second finds the state of the first.
    return state != nullptr &&
           (s_state.compare_exchange_strong(none, state, std::memory_order_acq_rel) ||
            none != nullptr);
}

void Symbolizer::Tell(const StackFrame& frame, StackTraceSink& sink) {
    Lookup(frame, sink).Tell();
}

}  // namespace zel::platform
