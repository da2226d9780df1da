#include "zel/commands/ThreadCommandProcessor.h"

#include "zel/core/Thread.h"
#include "zel/foundation/Log.h"

#include <atomic>
#include <utility>
#include <vector>

namespace zel {

namespace {

const LogArea s_log("CommandProcessor", -1);

void RunAndLog(Command& command) noexcept {
    try {
        command.Run();
    } catch (...) {
        try {
            Log(s_log, 3, "Command got exception. ", DescribeCurrentException());
        } catch (...) {
            // Without memory for the line there is nobody left to tell.
        }
    }
}

}  // namespace

// Queue and thread stand apart from the processor, so that it may go on this very thread.
class ThreadCommandProcessor::Worker : public Thread {
public:
    explicit Worker(const std::string& name) : Thread(name) {}

    // False, and nothing done, after Close.
    bool Post(RCPtr<Command> command) {
        CriticalSectionLock lock(&m_cs);
        if (m_isClosed) {
            return false;
        }
        m_posted.push_back(std::move(command));
        WakeIfIdle(lock);
        return true;
    }

    void Close() {
        CriticalSectionLock lock(&m_cs);
        m_isClosed = true;
        WakeIfIdle(lock);
    }

    void Run() override {
        std::vector<RCPtr<Command>> commands;
        while (Take(commands)) {
            for (RCPtr<Command>& command : commands) {
                RunAndLog(*command);
                command = nullptr;
            }
            commands.clear();
        }
    }

private:
    void WakeIfIdle(CriticalSectionLock& lock) {
        const int wasIdle = m_idle.exchange(0);
        lock.Unlock();
        if (wasIdle != 0) {
            m_idle.notify_one();
        }
    }

    // Exchanges the empty list for all that was posted, as soon as there is something; false if
    // there never will be.
    bool Take(std::vector<RCPtr<Command>>& commands) {
        for (;;) {
            CriticalSectionLock lock(&m_cs);
            if (!m_posted.empty()) {
                commands.swap(m_posted);
                return true;
            }
            if (m_isClosed) {
                return false;
            }
            m_idle = 1;
            lock.Unlock();
            m_idle.wait(1);
        }
    }

    CriticalSection m_cs;
    std::vector<RCPtr<Command>> m_posted;
    bool m_isClosed = false;
    std::atomic<int> m_idle{0};  // 1 or 0; changed inside the lock. An int is quickest to wait for
};

ThreadCommandProcessor::ThreadCommandProcessor(const std::string& name)
    : m_worker(new Worker(name)) {
    m_worker->Start();
}

ThreadCommandProcessor::~ThreadCommandProcessor() {
    Stop();
}

void ThreadCommandProcessor::PostCommand(RCPtr<Command> command) {
    if (!command) {
        Throw<Exception>(s_log, "A null command was posted.");
    }
    if (!m_worker->Post(std::move(command))) {
        Log(s_log, 3, "A command was posted after the stop and is dropped.");
    }
}

void ThreadCommandProcessor::Stop() {
    m_worker->Close();
    m_worker->Join();
}

}  // namespace zel
