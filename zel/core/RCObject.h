#pragma once

#include "zel/core/CriticalSectionLock.h"
#include "zel/core/SharedState.h"

#include <cassert>
#include <cstdint>

namespace zel {

class RCObject;

// The block that an object and its weak pointers share. It outlives the object for as long as a
// weak pointer holds it; whoever brings its count to 0 frees it. The fields change under
// RCUtils::s_cs only.
struct RCInfo {
    RCObject* m_object;    // null once the object is dying or dead
    std::int32_t m_count;  // 1 for the living object and 1 for each weak pointer

    // Gives up one holder's claim, the object's own with `clearObject`.
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

// Base of every object that is shared by counting. A new object belongs to nobody; the first RCPtr
// makes its count 1, and the last one to go deletes it, on its own thread and with no lock held.
//
//     class Station : public RCObject { ... };
//     RCPtr<Station> station(new Station);
//     WeakPtr<Station> watcher(station);
//
// Any thread may count any object. A copy of an object has a count of its own, and assignment
// leaves the counts alone. An object may also be a member or stand on the stack; then it is never
// held by an RCPtr, and its weak pointers read null from its destructor on. In the destructor of an
// object an RCPtr to it must not be made (asserted in debug builds).
class ZEL_CORE_API RCObject {
public:
    RCObject() : m_rcInfo(new RCInfo{this, 1}) {}
    RCObject(const RCObject&) : RCObject() {}
    RCObject& operator=(const RCObject&) noexcept { return *this; }

    virtual ~RCObject() {
        if (m_rcInfo != nullptr) {
            m_rcInfo->RemoveRef(true);
        }
    }

    // Counts one strong reference more, which the caller owes from then on.
    void AddRef() noexcept {
        CriticalSectionLock lock(RCUtils::s_cs);
        assert(m_rcInfo != nullptr && "a dying object can't be held");
        ++m_refCount;
    }

    // Gives up one strong reference; the last one deletes the object after the lock is left.
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
    friend class WeakPtr;
    friend class RCBatch;

    // Subtracts 1 under the caller's lock. At 0 the object's claim on its block ends, so that no
    // weak pointer can revive it, and true asks the caller to delete it outside the lock.
    bool Release() noexcept {
        if (--m_refCount != 0) {
            return false;
        }
        m_rcInfo->RemoveRef(true);
        m_rcInfo = nullptr;
        return true;
    }

    // Not inline, as static analysers don't follow counts and would take every object for gone.
    void Destroy() noexcept;

    RCInfo* m_rcInfo;
    std::int32_t m_refCount = 0;
};

}  // namespace zel
