#pragma once

#include "zel/core/CriticalSection.h"

namespace zel {

// Holds a CriticalSection for a scope, or until Unlock. A null pointer is no lock at all.
//
//     CriticalSectionLock lock(&m_cs);
class CriticalSectionLock {
public:
    // Enters `cs`, which outlives this object.
    explicit CriticalSectionLock(CriticalSection* cs) noexcept : m_cs(cs) {
        if (m_cs != nullptr) {
            m_cs->Enter();
            m_locked = true;
        }
    }

    ~CriticalSectionLock() { Unlock(); }

    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

    // Leaves the lock ahead of the scope's end; a second call does nothing.
    void Unlock() noexcept {
        if (m_locked) {
            m_locked = false;
            m_cs->Leave();
        }
    }

private:
    CriticalSection* m_cs;
    bool m_locked = false;
};

}  // namespace zel
