#include "zel/core/SharedState.h"

namespace zel {

namespace {

// A lock that needs no constructor and is never destroyed.
union PermanentLock {
    constexpr PermanentLock() noexcept : cs() {}
    ~PermanentLock() {}
    CriticalSection cs;
};

constinit PermanentLock s_countLock;
constinit PermanentLock s_sinkListLock;

}  // namespace

constinit CriticalSection* RCUtils::s_cs = &s_countLock.cs;
constinit CriticalSection* EventSourceUtils::s_cs = &s_sinkListLock.cs;

RefCountInit::RefCountInit() noexcept = default;
RefCountInit::~RefCountInit() = default;
EventSourceInit::EventSourceInit() noexcept = default;
EventSourceInit::~EventSourceInit() = default;

template <class T>
constinit std::atomic<int> StaticsRefCount<T>::s_count{0};

template <class T>
void StaticsRefCount<T>::Increment() noexcept {
    s_count.fetch_add(1);
}

template <class T>
void StaticsRefCount<T>::Decrement() noexcept {
    s_count.fetch_sub(1);
}

template <class T>
int StaticsRefCount<T>::GetCount() noexcept {
    return s_count.load();
}

template class StaticsRefCount<LoggingState>;
template class StaticsRefCount<DynamicObjectStatics>;

}  // namespace zel
