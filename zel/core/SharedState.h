#pragma once

#include "zel/core/CriticalSection.h"

namespace zel {

/// Holds the lock that guards the strong and weak counts of all objects of the process. The pointer
/// is read at every use. The lock exists before any constructor of a static object runs and until
/// the process ends. A single-threaded program may set the pointer to null to run without a lock.
///
/// Guide: docs/foundation.md
class ZEL_CORE_API RCUtils {
public:
    /// The lock, or null for none.
    static CriticalSection* s_cs;
};

/// Holds the lock that guards the replacement of sink lists, with the same rules as RCUtils. Lock
/// order: before `RCUtils::s_cs`.
class ZEL_CORE_API EventSourceUtils {
public:
    /// The lock, or null for none.
    static CriticalSection* s_cs;
};

/// A file-scope object of each source file that counts references while static objects are
/// initialised or destroyed. It does nothing, as the lock needs no set-up; it documents the
/// dependency.
class ZEL_CORE_API RefCountInit {
public:
    RefCountInit() noexcept;
    ~RefCountInit();
    RefCountInit(const RefCountInit&) = delete;
    RefCountInit& operator=(const RefCountInit&) = delete;
};

/// The same as RefCountInit for a source file that uses events.
class ZEL_CORE_API EventSourceInit {
public:
    EventSourceInit() noexcept;
    ~EventSourceInit();
    EventSourceInit(const EventSourceInit&) = delete;
    EventSourceInit& operator=(const EventSourceInit&) = delete;
};

class LoggingState;
class DynamicObjectStatics;

/// Counts the users of a piece of shared state. The state is created on first use and exists until
/// the process ends, so that static objects may use it in any order of construction and
/// destruction. Thread-safe.
template <class T>
class StaticsRefCount {
public:
    /// Adds or removes a user.
    ///@{
    static void Increment() noexcept;
    static void Decrement() noexcept;
    ///@}

    /// Returns the number of users.
    static int GetCount() noexcept;

private:
    static std::atomic<int> s_count;
};

extern template class ZEL_CORE_API StaticsRefCount<LoggingState>;
extern template class ZEL_CORE_API StaticsRefCount<DynamicObjectStatics>;

/// A user of a piece of shared state from its construction to its destruction.
template <class T>
class StaticInit {
public:
    StaticInit() noexcept { StaticsRefCount<T>::Increment(); }
    ~StaticInit() { StaticsRefCount<T>::Decrement(); }
    StaticInit(const StaticInit&) = delete;
    StaticInit& operator=(const StaticInit&) = delete;
};

}  // namespace zel
