#pragma once

#include "zel/core/CriticalSection.h"
#include "zel/foundation/Export.h"

#include <cstdarg>
#include <map>
#include <type_traits>

namespace zel {

/// Lock of the bridge. It is held while a binder runs, and is recursive.
extern ZEL_ADVANCED_API CriticalSection s_cs;

namespace Imp {

// Overloads, as a compiler may drop an attribute of the list's type from a template argument.
char* SelectArguments(char* list);
std::va_list* SelectArguments(...);

}  // namespace Imp

/// Variable arguments of a bridge call: the address of the first argument on targets where
/// `std::va_list` is a plain `char*`, the address of the list elsewhere. `ArgumentReader` reads
/// both.
using CArguments = decltype(Imp::SelectArguments(*static_cast<std::va_list*>(nullptr)));

/// Base class of the functions that `ZelCppBridge` calls. `FunctionBinder` implements it for any
/// callable; a class of your own reads the arguments itself.
class ZEL_ADVANCED_API CFuncBinderBase {
public:
    CFuncBinderBase() = default;
    virtual ~CFuncBinderBase();
    CFuncBinderBase(const CFuncBinderBase&) = delete;
    CFuncBinderBase& operator=(const CFuncBinderBase&) = delete;

    /// Runs the function with the arguments that followed the key `function`. Called with `s_cs`
    /// held. Exceptions propagate to the caller of `ZelCppBridge`. The registry may delete this
    /// binder during the call, if the call registers another one under the same key or releases the
    /// registry.
    virtual void Invoke(void* function, CArguments arguments) = 0;

    /// Registers this binder, which must have been created by `new`; see `CBinder::Register`.
    /// Without a registry the call logs and waits as `CBinder::GetBinder` does, and the caller
    /// keeps ownership.
    void Register(void* function);
};

/// Process-wide registry of binders by key. It exists while it has users.
///
///     CBinder::Prepare();
///     RegisterFunction(&station_add, [](int a, int b) { return a + b; });
///     ...  // C code calls ZelCppBridge(&station_add, 2, 3, &sum)
///     CBinder::Release();
///
/// Thread-safe: every operation locks `s_cs`, and may be called from inside a binder.
///
/// Guide: docs/c-bridge.md
class ZEL_ADVANCED_API CBinder {
public:
    /// Creates an empty registry. Programs use the one that `Prepare` creates.
    CBinder() = default;

    /// Deletes the binders, in the order of their keys.
    ~CBinder();
    CBinder(const CBinder&) = delete;
    CBinder& operator=(const CBinder&) = delete;

    /// Adds a user. The first user creates the registry.
    static void Prepare();

    /// Removes a user. The last user destroys the registry and its binders. Has no effect if there
    /// are no users.
    static void Release();

    /// Returns the registry, which stays valid until the last `Release`. Without users it logs that
    /// at level 1, sleeps 150 milliseconds and returns null.
    static CBinder* GetBinder();

    /// Registers a binder under a key and takes ownership. A binder registered under that key
    /// before is deleted. Has no effect if the key or the binder is null; the caller then keeps
    /// ownership.
    /// Requires: the binder is registered under no other key.
    void Register(void* function, CFuncBinderBase* binder);

    /// Runs the binder registered under the key, with `s_cs` held. Has no effect if there is none.
    void Call(void* function, CArguments arguments);

private:
    std::map<void*, CFuncBinderBase*> m_binders;
};

}  // namespace zel
