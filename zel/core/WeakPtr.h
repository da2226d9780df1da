#pragma once

#include "zel/core/RCPtr.h"

namespace zel {

// Points at an object without keeping it alive; GetRCPtr is the only way to reach it.
//
//     if (RCPtr<Station> station = weak.GetRCPtr()) { ... }
//
// A class makes a weak pointer to itself from `this`; inside the destructor that gives a null one.
// Threads may call GetRCPtr on one WeakPtr at once; changing it is for one thread alone. Upgrading
// a pointer to an object that no RCPtr has owned yet, one on the stack for instance, is forbidden
// (asserted in debug builds).
template <class T>
class WeakPtr {
public:
    WeakPtr() noexcept = default;

    // `object` is null or alive.
    WeakPtr(T* object) noexcept {
        if (object != nullptr) {
            CriticalSectionLock lock(RCUtils::s_cs);
            Hold(static_cast<const RCObject*>(object)->m_rcInfo);
        }
    }

    // Points at what a strong pointer or another weak one does, if anything.
    WeakPtr(const RCPtr<T>& object) noexcept : WeakPtr(object.Get()) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    WeakPtr(const RCPtr<U>& object) noexcept : WeakPtr(static_cast<T*>(object.Get())) {}

    WeakPtr(const WeakPtr& other) noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        Hold(other.m_rcInfo);
    }

    WeakPtr(WeakPtr&& other) noexcept : m_rcInfo(std::exchange(other.m_rcInfo, nullptr)) {}

    // From a pointer to a derived class.
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

    // A strong pointer to the object, or null if there is none or its last RCPtr has gone.
    RCPtr<T> GetRCPtr() const noexcept {
        if (m_rcInfo == nullptr) {
            return nullptr;
        }
        CriticalSectionLock lock(RCUtils::s_cs);
        RCObject* const object = m_rcInfo->m_object;
        if (object == nullptr) {
            return nullptr;
        }
        assert(object->m_refCount > 0 && "an object that nobody owns can't be held");
        ++object->m_refCount;
        return RCPtr<T>::Attach(static_cast<T*>(object));
    }

private:
    template <class U>
    friend class WeakPtr;
    friend class RCBatch;

    void Hold(RCInfo* info) noexcept {
        m_rcInfo = info;
        if (info != nullptr) {
            ++info->m_count;
        }
    }

    RCInfo* m_rcInfo = nullptr;
};

}  // namespace zel
