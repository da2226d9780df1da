#pragma once

#include "zel/core/RCObject.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace zel {

/// A strong pointer: null, or a pointer to an object of a class derived from RCObject that it keeps
/// alive. `RCPtr<const T>` gives read access only.
///
///     RCPtr<Station> station(new Station);
///     station->Start();
///
/// Copies change the count under `RCUtils::s_cs`; moves change no count and take no lock.
/// Dereferencing a null pointer is undefined behaviour. Thread-compatible: const calls may run
/// concurrently. Threads may share the object, but one RCPtr variable must not be written while
/// another thread uses it.
///
/// Guide: docs/foundation.md
template <class T>
class RCPtr {
public:
    /// Makes a null pointer.
    RCPtr() noexcept = default;

    /// Adds a reference to the object, unless it is null.
    ///@{
    RCPtr(T* object) noexcept : m_object(object) { Retain(); }
    RCPtr(const RCPtr& other) noexcept : m_object(other.m_object) { Retain(); }
    ///@}

    /// Takes over the reference of `other`, which becomes null.
    RCPtr(RCPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    /// Converts from a pointer to a derived class.
    ///@{
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    RCPtr(const RCPtr<U>& other) noexcept : m_object(other.Get()) {
        Retain();
    }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    RCPtr(RCPtr<U>&& other) noexcept : m_object(other.Detach()) {}
    ///@}

    ~RCPtr() { Release(m_object); }

    /// Adds a reference to the new object before it releases the old one. If the old object is
    /// destroyed, its destructor runs with no lock held and already sees the new value.
    ///@{
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
    ///@}

    /// Returns the object, which lives at least as long as this pointer holds it.
    ///@{
    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    ///@}

    /// Returns true if the pointer isn't null.
    explicit operator bool() const noexcept { return m_object != nullptr; }

    /// Exchanges the two objects without changing a count.
    void Swap(RCPtr& other) noexcept { std::swap(m_object, other.m_object); }

    /// Returns the object together with its reference and becomes null. The caller must release the
    /// reference with `RCObject::RemoveRef` or pass it to `Attach`.
    T* Detach() noexcept { return std::exchange(m_object, nullptr); }

    /// Makes a pointer that takes over a reference, for example one returned by `Detach`. Changes
    /// no count.
    static RCPtr Attach(T* object) noexcept {
        RCPtr result;
        result.m_object = object;
        return result;
    }

    /// Makes the first pointer to a new object without a lock. Requires: no other thread can reach
    /// the object yet.
    static RCPtr FromUnshared(T* object) noexcept {
        ++CountedOf(object)->m_refCount;
        return Attach(object);
    }

    /// Compares the addresses of the objects.
    ///@{
    friend bool operator==(const RCPtr& a, const RCPtr& b) noexcept {
        return a.m_object == b.m_object;
    }
    friend bool operator==(const RCPtr& a, const T* b) noexcept { return a.m_object == b; }
    friend std::strong_ordering operator<=>(const RCPtr& a, const RCPtr& b) noexcept {
        return std::compare_three_way()(a.m_object, b.m_object);
    }
    ///@}

private:
    // The const_cast is safe: the count isn't part of the object's value.
    static RCObject* CountedOf(T* object) noexcept {
        static_assert(std::is_base_of_v<RCObject, T>,
                      "RCPtr needs a complete class that is derived from RCObject");
        return const_cast<std::remove_const_t<T>*>(object);
    }

    void Retain() const noexcept {
        if (m_object != nullptr) {
            CountedOf(m_object)->AddRef();
        }
    }

    static void Release(T* object) noexcept {
        if (object != nullptr) {
            CountedOf(object)->RemoveRef();
        }
    }

    T* m_object = nullptr;
};

}  // namespace zel

/// Hashes the address of the object, like `std::hash` of a plain pointer.
template <class T>
struct std::hash<zel::RCPtr<T>> {
    /// Returns the same value for all pointers to one object.
    std::size_t operator()(const zel::RCPtr<T>& pointer) const noexcept {
        return std::hash<T*>()(pointer.Get());
    }
};
