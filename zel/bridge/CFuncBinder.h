#pragma once

#include "zel/bridge/ZelBridge.h"
#include "zel/core/CriticalSection.h"
#include "zel/foundation/Export.h"

#include <cstdarg>
#include <map>
#include <type_traits>

namespace zel {

// The lock of the bridge: it is held while a binder runs, and may be entered again from there.
extern ZEL_ADVANCED_API CriticalSection s_cs;

// The variable arguments of a call: the address of the first one where a std::va_list is just that,
// else the address of the list. ArgumentReader takes them apart.
using CArguments = std::conditional_t<std::is_same_v<std::va_list, char*>, char*, std::va_list*>;

// What C code reaches by a key through ZelCppBridge. FunctionBinder makes one of any callable; a
// class of one's own takes the arguments apart by itself.
class ZEL_ADVANCED_API CFuncBinderBase {
public:
    CFuncBinderBase() = default;
    virtual ~CFuncBinderBase();
    CFuncBinderBase(const CFuncBinderBase&) = delete;
    CFuncBinderBase& operator=(const CFuncBinderBase&) = delete;

    // Called with s_cs held, with the key and the arguments behind it. What it throws reaches the
    // caller of ZelCppBridge.
    virtual void Invoke(void* function, CArguments arguments) = 0;

    // Hands this binder, made by new, to the registry; see CBinder::Register. Without a registry
    // it logs as CBinder::GetBinder does, and the binder stays the caller's.
    void Register(void* function);
};

// The registry of the process: binders by key. It exists while somebody has asked for it.
//
//     CBinder::Prepare();
//     RegisterFunction(&station_add, [](int a, int b) { return a + b; });
//     ...  // C code calls ZelCppBridge(&station_add, 2, 3, &sum)
//     CBinder::Release();
//
// All operations may be called from any thread and from inside a binder; each takes s_cs.
class ZEL_ADVANCED_API CBinder {
public:
    CBinder() = default;

    // Deletes the binders, in the order of their keys.
    ~CBinder();
    CBinder(const CBinder&) = delete;
    CBinder& operator=(const CBinder&) = delete;

    // Count the users of the registry: the first Prepare makes it, the Release that answers the
    // last one destroys it with its binders. A Release too many has no effect.
    static void Prepare();
    static void Release();

    // The registry, until the last Release. Without a user it logs that at level 1, waits 150
    // milliseconds and gives null.
    static CBinder* GetBinder();

    // Takes over a binder under a key, and deletes the one that was there. A null key or binder has
    // no effect; the binder stays the caller's then. One binder belongs under one key.
    void Register(void* function, CFuncBinderBase* binder);

    // Runs the binder of that key, with s_cs held; no effect if there is none.
    void Call(void* function, CArguments arguments);

private:
    std::map<void*, CFuncBinderBase*> m_binders;
};

}  // namespace zel

#include "zel/bridge/FunctionBinder.h"
