#include "zel/core/CriticalSection.h"

#include "zel/platform/Parking.h"

namespace zel {

namespace {

constexpr int SPIN_ROUNDS = 100;

void PauseProcessor() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

}  // namespace

CriticalSection::CriticalSection(const std::string& name)
    : m_name(name.empty() ? nullptr : std::make_unique<const std::string>(name)) {}

std::string CriticalSection::GetName() const {
    return m_name ? *m_name : std::string();
}

bool CriticalSection::TryEnter() noexcept {
    const void* none = nullptr;
    return m_owner.compare_exchange_strong(none, ThreadIdentity(), std::memory_order_acquire,
                                           std::memory_order_relaxed);
}

bool CriticalSection::SpinToEnter() noexcept {
    for (int round = 0; round < SPIN_ROUNDS; ++round) {
        if (m_owner.load(std::memory_order_relaxed) == nullptr && TryEnter()) {
            return true;
        }
        PauseProcessor();
    }
    return false;
}

void CriticalSection::EnterContended() noexcept {
    if (SpinToEnter()) {
        return;
    }
    for (;;) {
        // Set on every round, as the thread that woke this one has cleared the flag for all.
        m_hasSleepers.store(1, std::memory_order_relaxed);
        platform::ProcessWideBarrier();
        if (TryEnter()) {
            return;
        }
        platform::Park(m_hasSleepers, 1);
    }
}

void CriticalSection::WakeSleeper() noexcept {
    m_hasSleepers.store(0, std::memory_order_relaxed);
    platform::UnparkOne(m_hasSleepers);
}

}  // namespace zel
