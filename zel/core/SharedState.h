#pragma once

#include "zel/core/CriticalSection.h"

namespace zel {

// Guards all strong and weak counts of all objects of the process. Read at every use. The lock
// stands from before the first use to the end of the process; a program that sets the pointer to
// null runs without a lock, and then on one thread only.
class ZEL_CORE_API RCUtils {
public:
    // The lock; null for none.
    static CriticalSection* s_cs;
};

// Guards every replacement of a sink list, by the rules of RCUtils. Taken before RCUtils::s_cs,
// never after.
class ZEL_CORE_API EventSourceUtils {
public:
    // The lock; null for none.
    static CriticalSection* s_cs;
};

// A file-scope object of a source file that counts references at load or unload. The locks need no
// set-up, so it is only the mark that a file relies on them.
class ZEL_CORE_API RefCountInit {
public:
    RefCountInit() noexcept;
    ~RefCountInit();
    RefCountInit(const RefCountInit&) = delete;
    RefCountInit& operator=(const RefCountInit&) = delete;
};

// What RefCountInit is, for a file that uses events.
class ZEL_CORE_API EventSourceInit {
public:
    EventSourceInit() noexcept;
    ~EventSourceInit();
    EventSourceInit(const EventSourceInit&) = delete;
    EventSourceInit& operator=(const EventSourceInit&) = delete;
};

class LoggingState;
class DynamicObjectStatics;

// Counts who relies on a piece of shared state. The state is made at the first use and stays to
// the end of the process, so that static objects may use it in whatever order they come and go.
template <class T>
class StaticsRefCount {
public:
    // Count those who rely on the state, and tell how many do. Any thread may call them.
    static void Increment() noexcept;
    static void Decrement() noexcept;
    static int GetCount() noexcept;

private:
    static std::atomic<int> s_count;
};

extern template class ZEL_CORE_API StaticsRefCount<LoggingState>;
extern template class ZEL_CORE_API StaticsRefCount<DynamicObjectStatics>;

// Relies on a piece of shared state from its construction to its destruction.
template <class T>
class StaticInit {
public:
    StaticInit() noexcept { StaticsRefCount<T>::Increment(); }
    ~StaticInit() { StaticsRefCount<T>::Decrement(); }
    StaticInit(const StaticInit&) = delete;
    StaticInit& operator=(const StaticInit&) = delete;
};

}  // namespace zel
