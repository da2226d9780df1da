#pragma once

#include "zel/core/RCObject.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace zel {

// A strong pointer: null, or an object of a class derived from RCObject that it keeps alive. Copies
// count under RCUtils::s_cs; moves change no count and take no lock. Using a null pointer is the
// caller's fault. Threads may share the object, not the pointer variable. RCPtr<const T> holds an
// object that it gives no way to change.
template <class T>
class RCPtr {
public:
    // Null.
    RCPtr() noexcept = default;

    // Counts the object, unless it is null.
    RCPtr(T* object) noexcept : m_object(object) { Retain(); }
    RCPtr(const RCPtr& other) noexcept : m_object(other.m_object) { Retain(); }
    RCPtr(RCPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    // From a pointer to a derived class.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    RCPtr(const RCPtr<U>& other) noexcept : m_object(other.Get()) {
        Retain();
    }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    RCPtr(RCPtr<U>&& other) noexcept : m_object(other.Detach()) {}

    ~RCPtr() { Release(m_object); }

    // The new object is held before the old one is let go, and the old one's destructor runs with
    // no lock held, when this pointer has its new value already.
    RCPtr& operator=(const RCPtr& other) noexcept {
        if (this == &other) {
            return *this;
        }
        CriticalSectionLock lock(RCUtils::s_cs);
        T* const old = std::exchange(m_object, other.m_object);
        Retain();
        lock.Unlock();
        Release(old);
        return *this;
    }

    RCPtr& operator=(RCPtr&& other) noexcept {
        RCPtr taken(std::move(other));
        Swap(taken);
        return *this;
    }

    // The object, for as long as this pointer or another one holds it.
    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    // Exchanges the two objects; counts nothing.
    void Swap(RCPtr& other) noexcept { std::swap(m_object, other.m_object); }

    // Gives the pointer away together with its reference, which the caller now owes.
    T* Detach() noexcept { return std::exchange(m_object, nullptr); }

    // Takes over a reference that the caller owes, as Detach gives it; counts nothing.
    static RCPtr Attach(T* object) noexcept {
        RCPtr result;
        result.m_object = object;
        return result;
    }

    // Compare addresses.
    friend bool operator==(const RCPtr& a, const RCPtr& b) noexcept {
        return a.m_object == b.m_object;
    }
    friend bool operator==(const RCPtr& a, const T* b) noexcept { return a.m_object == b; }
    friend std::strong_ordering operator<=>(const RCPtr& a, const RCPtr& b) noexcept {
        return std::compare_three_way()(a.m_object, b.m_object);
    }

private:
    using Counted = std::remove_const_t<T>;

    // To count an object is no change of it.
    void Retain() const noexcept {
        if (m_object != nullptr) {
            const_cast<Counted*>(m_object)->AddRef();
        }
    }

    static void Release(T* object) noexcept {
        if (object != nullptr) {
            const_cast<Counted*>(object)->RemoveRef();
        }
    }

    T* m_object = nullptr;
};

}  // namespace zel

// Hashes the address, as std::hash of a plain pointer does.
template <class T>
struct std::hash<zel::RCPtr<T>> {
    // The same value for the same object, whatever pointer holds it.
    std::size_t operator()(const zel::RCPtr<T>& pointer) const noexcept {
        return std::hash<T*>()(pointer.Get());
    }
};
