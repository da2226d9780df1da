#pragma once

#include "zel/core/RCPtr.h"

namespace zel {

/// A pointer that doesn't keep its object alive. `GetRCPtr` is the only way to reach the object.
///
///     if (RCPtr<Station> station = weak.GetRCPtr()) { ... }
///
/// An object may make a weak pointer to itself from `this`; in its destructor the result is null.
/// Requires: `GetRCPtr` is not called for an object that no RCPtr has ever owned, for example a
/// local variable (asserted in debug builds).
///
/// Thread-compatible: const calls may run concurrently.
///
/// Guide: docs/foundation.md
template <class T>
class WeakPtr {
public:
    /// Makes a null pointer.
    WeakPtr() noexcept = default;

    /// Points at `object`, which is null or alive.
    WeakPtr(T* object) noexcept {
        static_assert(std::is_base_of_v<RCObject, T>,
                      "WeakPtr needs a complete class that is derived from RCObject");
        if (object != nullptr) {
            CriticalSectionLock lock(RCUtils::s_cs);
            Hold(static_cast<const RCObject*>(object)->m_rcInfo);
        }
    }

    /// Points at the object of a strong pointer, which may be null.
    ///@{
    WeakPtr(const RCPtr<T>& object) noexcept : WeakPtr(object.Get()) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    WeakPtr(const RCPtr<U>& object) noexcept : WeakPtr(static_cast<T*>(object.Get())) {}
    ///@}

    WeakPtr(const WeakPtr& other) noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        Hold(other.m_rcInfo);
    }

    WeakPtr(WeakPtr&& other) noexcept : m_rcInfo(std::exchange(other.m_rcInfo, nullptr)) {}

    /// Converts from a weak pointer to a derived class.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    WeakPtr(const WeakPtr<U>& other) noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        Hold(other.m_rcInfo);
    }

    ~WeakPtr() {
        if (m_rcInfo != nullptr) {
            m_rcInfo->RemoveRef(false);
        }
    }

    WeakPtr& operator=(WeakPtr other) noexcept {
        std::swap(m_rcInfo, other.m_rcInfo);
        return *this;
    }

    /// Returns a strong pointer to the object, or null if this pointer is null or the last RCPtr to
    /// the object was released.
    RCPtr<T> GetRCPtr() const noexcept {
        if (m_rcInfo == nullptr) {
            return nullptr;
        }
        CriticalSectionLock lock(RCUtils::s_cs);
        RCObject* const object = m_rcInfo->m_object;
        if (object == nullptr) {
            return nullptr;
        }
        assert(object->m_refCount > 0 && "GetRCPtr on an object that no RCPtr owns");
        ++object->m_refCount;
        return RCPtr<T>::Attach(static_cast<T*>(object));
    }

    /// Returns true if `GetRCPtr` would return null. True is final; false may be outdated when the
    /// caller sees it.
    bool IsExpired() const noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        return m_rcInfo == nullptr || m_rcInfo->m_object == nullptr;
    }

    /// Makes a pointer to a new object without a lock. Requires: no other thread can reach the
    /// object yet.
    static WeakPtr FromUnshared(T* object) noexcept {
        WeakPtr pointer;
        pointer.Hold(static_cast<RCObject*>(object)->m_rcInfo);
        return pointer;
    }

private:
    template <class U>
    friend class WeakPtr;

    void Hold(RCInfo* info) noexcept {
        m_rcInfo = info;
        if (info != nullptr) {
            ++info->m_count;
        }
    }

    RCInfo* m_rcInfo = nullptr;
};

}  // namespace zel
