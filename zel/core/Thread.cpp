#include "zel/core/Thread.h"

#include "zel/core/CriticalSectionLock.h"
#include "zel/core/Logger.h"
#include "zel/platform/FaultStack.h"
#include "zel/platform/ThreadInfo.h"

#include <chrono>
#include <utility>

namespace zel {

namespace {

const LoggingRegisterHelper s_log("Thread", -1, nullptr);

// Logs the exception that is being handled.
void LogEscape(const std::string& thread) noexcept {
    try {
        s_log.Write(
            2, __LINE__,
            "Thread \"" + thread + "\" ended by an exception. " + DescribeCurrentException());
    } catch (...) {
        // Without memory for the message the exception can't be reported.
    }
}

}  // namespace

Thread::Thread(std::string name)
    : m_name(std::move(name)),
      m_stopEvent(new Event(Event::ManualReset, false)),
      m_ended(new Event(Event::ManualReset, false)) {}

Thread::~Thread() {
    if (!m_thread.joinable()) {
        return;
    }
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

void Thread::RequestStop() {
    m_stopEvent->Set(true);
}

bool Thread::Start() {
    CriticalSectionLock lock(&m_cs);
    if (m_started) {
        return false;
    }
    m_thread = std::thread([self = RCPtr<Thread>(this)]() mutable {
        self->RunGuarded();
        self->m_ended->Set(true);
        self = nullptr;
    });
    m_started = true;
    return true;
}

void Thread::Join() {
    CriticalSectionLock lock(&m_cs);
    if (!m_started || m_thread.get_id() == std::this_thread::get_id()) {
        return;
    }
    lock.Unlock();
    m_ended->Wait(-1);
    // Joins outside the lock, as objects that the thread destroys at its end may call this object.
    std::thread ending;
    CriticalSectionLock joining(&m_cs);
    ending.swap(m_thread);
    joining.Unlock();
    if (ending.joinable()) {
        ending.join();
    }
}

bool Thread::IsRunning() const {
    CriticalSectionLock lock(&m_cs);
    return m_started && !m_ended->IsSet();
}

bool Thread::ShouldStop() const {
    return m_stopEvent->IsSet();
}

std::string Thread::GetName() const {
    return m_name;
}

void Thread::SleepFor(int milliseconds) {
    if (milliseconds > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
}

double Thread::BePunctual() noexcept {
    return platform::MakeCurrentThreadPunctual();
}

void Thread::RunGuarded() noexcept {
    const platform::FaultStack faultStack;
    platform::SetCurrentThreadName(m_name);
    try {
        Run();
    } catch (...) {
        LogEscape(m_name);
    }
}

}  // namespace zel
