#pragma once

#include "zel/core/Export.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace zel {

/// A recursive mutual-exclusion lock for short, mostly uncontended sections. Entering costs one
/// atomic instruction, leaving a plain store, and entering again on the same thread a comparison.
/// A thread that has to wait spins briefly and then sleeps.
///
///     CriticalSection cs("settings");
///     cs.Enter();
///     ...
///     cs.Leave();  // once for each Enter; CriticalSectionLock does it by scope
///
/// Thread-safe. Requires: no thread is in a call on the object when it is destroyed. After a fork
/// the child process may use locks that no other thread held at the time.
///
/// Guide: docs/core.md
class ZEL_CORE_API CriticalSection {
public:
    constexpr CriticalSection() noexcept = default;

    /// Makes a lock with a name, which may be empty. The name is shown in debuggers only.
    explicit CriticalSection(const std::string& name);

    ~CriticalSection() = default;
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    /// Acquires the lock, or increments its depth if the calling thread already holds it. Blocks
    /// while another thread holds it.
    void Enter() noexcept {
        const void* const self = ThreadIdentity();
        if (m_owner.load(std::memory_order_relaxed) == self) {
            ++m_depth;
            return;
        }
        const void* none = nullptr;
        if (!m_owner.compare_exchange_strong(none, self, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
            EnterContended();
        }
    }

    /// Undoes one `Enter`; the last one releases the lock. Requires: the calling thread holds the
    /// lock.
    void Leave() noexcept {
        if (m_depth != 0) {
            --m_depth;
            return;
        }
        m_owner.store(nullptr, std::memory_order_release);
        // No memory fence is needed between the store and the load: a thread that sets the flag
        // issues a process-wide barrier before it sleeps, so that either it sees the lock free or
        // this thread sees the flag.
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (m_hasSleepers.load(std::memory_order_relaxed) != 0) {
            WakeSleeper();
        }
    }

    /// Returns the name given to the constructor, or an empty string.
    std::string GetName() const;

private:
    bool TryEnter() noexcept;
    bool SpinToEnter() noexcept;
    void EnterContended() noexcept;
    void WakeSleeper() noexcept;

    std::atomic<const void*> m_owner{nullptr};
    // The number of nested entries beyond the first; accessed by the owner only.
    std::uint32_t m_depth = 0;
    std::atomic<std::uint32_t> m_hasSleepers{0};
    std::unique_ptr<const std::string> m_name;
};

}  // namespace zel
