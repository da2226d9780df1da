#pragma once

#include "zel/core/CriticalSectionLock.h"
#include "zel/core/SharedState.h"

#include <cassert>
#include <cstdint>

namespace zel {

class RCObject;

/// The control block that an object shares with its weak pointers. It is freed by the holder that
/// brings `m_count` to 0, which may be long after the object was destroyed. The fields change only
/// while `RCUtils::s_cs` is held.
struct RCInfo {
    RCObject* m_object;    ///< Null as soon as the object's last RCPtr is released.
    std::int32_t m_count;  ///< 1 for the living object plus 1 for each WeakPtr.

    /// Gives up one holder's share of the block: the object's own with `clearObject`, else that of
    /// a WeakPtr.
    void RemoveRef(bool clearObject) noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        const std::int32_t left = --m_count;
        if (clearObject) {
            m_object = nullptr;
        }
        lock.Unlock();
        if (left == 0) {
            delete this;
        }
    }
};

/// Base class of all reference-counted objects. A new object has a count of 0 and no owner. The
/// first RCPtr makes the count 1; releasing the last one deletes the object, on the releasing
/// thread and with no lock held.
///
///     class Station : public RCObject { ... };
///     RCPtr<Station> station(new Station);
///     WeakPtr<Station> weak(station);
///
/// A copy of an object has a count of its own; assignment leaves both counts unchanged. An object
/// may also be a member of another one or a local variable: then it must never be held by an RCPtr,
/// and its weak pointers become null in its destructor. Requires: no RCPtr to an object is made in
/// its destructor (asserted in debug builds).
///
/// Thread-safe: any thread may change the count of any object.
///
/// Guide: docs/foundation.md
class ZEL_CORE_API RCObject {
public:
    /// Allocates the control block. Throws `std::bad_alloc`.
    RCObject() : m_rcInfo(new RCInfo{this, 1}) {}
    RCObject(const RCObject&) : RCObject() {}
    RCObject& operator=(const RCObject&) noexcept { return *this; }

    virtual ~RCObject() {
        if (m_rcInfo != nullptr) {
            m_rcInfo->RemoveRef(true);
        }
    }

    /// Adds a strong reference. The caller must release it with `RemoveRef`.
    void AddRef() noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        assert(m_rcInfo != nullptr && "RCPtr made to an object that is being destroyed");
        ++m_refCount;
    }

    /// Releases a strong reference. The last one deletes the object after the lock is left.
    void RemoveRef() noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        const bool last = Release();
        lock.Unlock();
        if (last) {
            Destroy();
        }
    }

private:
    template <class T>
    friend class RCPtr;
    template <class T>
    friend class WeakPtr;
    friend class RCBatch;

    // Subtracts 1; the caller holds the lock. At 0 the object gives up its control block, so that
    // no weak pointer can revive it, and the caller must delete the object outside the lock.
    bool Release() noexcept {
        if (--m_refCount != 0) {
            return false;
        }
        m_rcInfo->RemoveRef(true);
        m_rcInfo = nullptr;
        return true;
    }

    // Not inline: static analysers don't follow the counts and would report every later use of the
    // object as a use after free.
    void Destroy() noexcept;

    RCInfo* m_rcInfo;
    std::int32_t m_refCount = 0;
};

}  // namespace zel
