#pragma once

#include "zel/core/Export.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace zel {

// The address of this variable tells threads apart; its value means nothing.
extern constinit thread_local char t_threadIdentity ZEL_CORE_THREAD_LOCAL;

// A lock that one thread holds at a time and may enter again while it holds it. It is made for
// short, mostly uncontended sections: entering costs one atomic instruction, leaving a plain store,
// entering again a comparison. A thread that waits spins briefly, then sleeps.
//
//     CriticalSection cs("settings");
//     cs.Enter();
//     ...
//     cs.Leave();  // as often as entered; CriticalSectionLock does it by scope
//
// Any thread may call Enter. Leave is for the thread that is inside. The object may go once no
// thread is in a call on it. After a fork the child may use locks that no other thread held.
class ZEL_CORE_API CriticalSection {
public:
    constexpr CriticalSection() noexcept = default;

    // The name, which may be empty, is for whoever looks at the object in a debugger.
    explicit CriticalSection(const std::string& name);

    ~CriticalSection() = default;
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    // Enters, once more if the calling thread is inside already, else after whoever is.
    void Enter() noexcept {
        const void* const self = &t_threadIdentity;
        if (m_owner.load(std::memory_order_relaxed) == self) {
            ++m_depth;
            return;
        }
        const void* nobody = nullptr;
        if (!m_owner.compare_exchange_strong(nobody, self, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
            EnterContended();
        }
    }

    // Takes back one Enter of the calling thread; the last one frees the lock.
    void Leave() noexcept {
        if (m_depth != 0) {
            --m_depth;
            return;
        }
        m_owner.store(nullptr, std::memory_order_release);
        // No fence stands between the two: whoever sets the mark issues a process-wide barrier
        // before it goes to sleep, so that either it sees the lock free or we see the mark.
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (m_hasSleepers.load(std::memory_order_relaxed) != 0) {
            WakeSleeper();
        }
    }

    // The name that it was made with; empty without.
    std::string GetName() const;

private:
    bool TryEnter() noexcept;
    bool SpinToEnter() noexcept;
    void EnterContended() noexcept;
    void WakeSleeper() noexcept;

    std::atomic<const void*> m_owner{nullptr};
    // How many times the owner is inside beyond the first; only the owner touches it.
    std::uint32_t m_depth = 0;
    std::atomic<std::uint32_t> m_hasSleepers{0};
    std::unique_ptr<const std::string> m_name;
};

}  // namespace zel
