#pragma once

#include "zel/core/CriticalSection.h"

namespace zel {

/// Enters a CriticalSection for the duration of a scope, or until `Unlock`.
///
///     CriticalSectionLock lock(&m_cs);
///
/// Not thread-safe: a local variable of one thread.
///
/// Guide: docs/core.md
class CriticalSectionLock {
public:
    /// Enters `cs`, which must outlive this object. A null `cs` locks nothing.
    explicit CriticalSectionLock(CriticalSection* cs) noexcept : m_cs(cs) {
        if (m_cs != nullptr) {
            m_cs->Enter();
            m_locked = true;
        }
    }

    ~CriticalSectionLock() { Unlock(); }

    CriticalSectionLock(const CriticalSectionLock&) = delete;
    CriticalSectionLock& operator=(const CriticalSectionLock&) = delete;

    /// Leaves the lock before the end of the scope. Further calls have no effect.
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
