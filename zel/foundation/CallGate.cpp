#include "zel/foundation/CallGate.h"

namespace zel {

CallGate::Call::Call(CallGate& gate) noexcept : m_gate(gate) {
    const CriticalSectionLock lock(&gate.m_cs);
    m_isAllowed = gate.m_isOpen;
    if (m_isAllowed) {
        m_next = gate.m_calls;
        gate.m_calls = this;
    }
}

CallGate::Call::~Call() {
    if (!m_isAllowed) {
        return;
    }
    CriticalSectionLock lock(&m_gate.m_cs);
    Call** link = &m_gate.m_calls;
    while (*link != this) {
        link = &(*link)->m_next;
    }
    *link = m_next;
    const bool isAwaited = !m_gate.m_isOpen;
    lock.Unlock();
    if (isAwaited) {
        m_gate.m_returned.Set(true);
    }
}

CallGate::CallGate() = default;

CallGate::~CallGate() = default;

void CallGate::Close() {
    CriticalSectionLock lock(&m_cs);
    m_isOpen = false;
    lock.Unlock();
    while (HasCallOnAnotherThread()) {
        m_returned.Wait(-1);
    }
}

bool CallGate::HasCallOnAnotherThread() noexcept {
    const CriticalSectionLock lock(&m_cs);
    const Call* call = m_calls;
    while (call != nullptr && call->m_thread == std::this_thread::get_id()) {
        call = call->m_next;
    }
    return call != nullptr;
}

}  // namespace zel
