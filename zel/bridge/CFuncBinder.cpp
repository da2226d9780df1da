#include "zel/bridge/CFuncBinder.h"

#include "zel/core/Thread.h"
#include "zel/foundation/CriticalSectionLock.h"
#include "zel/foundation/Log.h"

#include <utility>

namespace zel {

namespace {

const LogArea s_log("CFuncBinder", 2);

// Guarded by s_cs.
int s_useCount = 0;
CBinder* s_instance = nullptr;

}  // namespace

CriticalSection s_cs;

CFuncBinderBase::~CFuncBinderBase() = default;

void CFuncBinderBase::Register(void* function) {
    CBinder* const registry = CBinder::GetBinder();
    if (registry != nullptr) {
        registry->Register(function, this);
    }
}

CBinder::~CBinder() {
    while (!m_binders.empty()) {
        // Removed first, as the binder's destructor may call the registry.
        delete m_binders.extract(m_binders.begin()).mapped();
    }
}

void CBinder::Prepare() {
    CriticalSectionLock lock(&s_cs);
    if (s_useCount == 0) {
        s_instance = new CBinder;
    }
    ++s_useCount;
}

void CBinder::Release() {
    CriticalSectionLock lock(&s_cs);
    if (s_useCount != 0 && --s_useCount == 0) {
        delete std::exchange(s_instance, nullptr);
    }
}

CBinder* CBinder::GetBinder() {
    constexpr int millisecondsForLogOutput = 150;
    {
        CriticalSectionLock lock(&s_cs);
        if (s_useCount != 0) {
            return s_instance;
        }
        Log(s_log, 1,
            "[CBinder::GetBinder] You forgot to call CBinder::Prepare() before calling this "
            "function: the program will probably SEGFAULT now...");
    }
    Thread::SleepFor(millisecondsForLogOutput);
    return nullptr;
}

void CBinder::Register(void* function, CFuncBinderBase* binder) {
    if (function == nullptr || binder == nullptr) {
        return;
    }
    CriticalSectionLock lock(&s_cs);
    CFuncBinderBase* const replaced = std::exchange(m_binders[function], binder);
    if (replaced != binder) {
        delete replaced;
    }
}

void CBinder::Call(void* function, CArguments arguments) {
    CriticalSectionLock lock(&s_cs);
    const auto found = m_binders.find(function);
    if (found != m_binders.end()) {
        found->second->Invoke(function, arguments);
    }
}

namespace {

void CallRegistered(void* function, CArguments arguments) {
    // Locked before the registry is read, as the last Release on another thread destroys it.
    CriticalSectionLock lock(&s_cs);
    if (s_instance != nullptr) {
        s_instance->Call(function, arguments);
        return;
    }
    lock.Unlock();
    CBinder::GetBinder();
}

// A template, so that only the branch that fits the system is compiled.
template <class Arguments>
Arguments AddressOf(std::va_list& list) {
    if constexpr (std::is_same_v<Arguments, char*>) {
        return list;
    } else {
        return &list;
    }
}

}  // namespace

}  // namespace zel

void ZelCppBridge(void* function, ...) {
    std::va_list arguments;
    va_start(arguments, function);
    try {
        zel::CallRegistered(function, zel::AddressOf<zel::CArguments>(arguments));
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
}
