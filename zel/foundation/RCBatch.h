#pragma once

#include "zel/core/WeakPtr.h"

namespace zel {

// Holds RCUtils::s_cs over many count changes, each of which then costs next to nothing, and lets
// other threads in every few dozen steps. What a change destroys must wait for the batch's end:
// a destructor never runs under the lock.
class RCBatch {
public:
    RCBatch() noexcept : m_cs(RCUtils::s_cs) { Enter(); }
    ~RCBatch() { Leave(); }
    RCBatch(const RCBatch&) = delete;
    RCBatch& operator=(const RCBatch&) = delete;

    // Marks the begin of a step; the lock may be left and taken again here.
    void Step() noexcept {
        if (--m_stepsLeft == 0) {
            m_stepsLeft = STEPS_PER_SLICE;
            Leave();
            Enter();
        }
    }

    // One more pointer to what `pointer`, which isn't null, points at.
    template <class T>
    RCPtr<T> Copy(const RCPtr<T>& pointer) noexcept {
        T* const object = pointer.Get();
        ++static_cast<RCObject*>(object)->m_refCount;
        return RCPtr<T>::Attach(object);
    }

    // Gives up the reference that `pointer` holds, unless it is the last one to its object, and
    // tells whether it did.
    template <class T>
    bool ReleaseUnlessLast(RCPtr<T>& pointer) noexcept {
        RCObject* const object = pointer.Get();
        if (object->m_refCount <= 1) {
            return false;
        }
        --object->m_refCount;
        pointer.Detach();
        return true;
    }

    // Gives up the reference that `pointer` holds. When it was the last, the result is the object,
    // which the caller deletes after the batch; else null.
    template <class T>
    T* Release(RCPtr<T>& pointer) noexcept {
        T* const object = pointer.Detach();
        return static_cast<RCObject*>(object)->Release() ? object : nullptr;
    }

    // Makes a weak pointer null if its object is gone.
    template <class T>
    void ReleaseIfExpired(WeakPtr<T>& pointer) noexcept {
        if (pointer.m_rcInfo != nullptr && pointer.m_rcInfo->m_object == nullptr) {
            std::exchange(pointer.m_rcInfo, nullptr)->RemoveRef(false);
        }
    }

    // The first strong pointer to a new object that no other thread can know of yet, and a weak
    // pointer to such an object: nobody else counts it, so no lock is taken.
    template <class T>
    static RCPtr<T> HoldUnshared(T* object) noexcept {
        ++static_cast<RCObject*>(object)->m_refCount;
        return RCPtr<T>::Attach(object);
    }
    template <class T>
    static WeakPtr<T> PointAtUnshared(T* object) noexcept {
        WeakPtr<T> pointer;
        pointer.Hold(static_cast<RCObject*>(object)->m_rcInfo);
        return pointer;
    }

private:
    static constexpr int STEPS_PER_SLICE = 64;

    void Enter() noexcept {
        if (m_cs != nullptr) {
            m_cs->Enter();
        }
    }

    void Leave() noexcept {
        if (m_cs != nullptr) {
            m_cs->Leave();
        }
    }

    CriticalSection* const m_cs;
    int m_stepsLeft = STEPS_PER_SLICE;
};

}  // namespace zel
