#include "zel/commands/CommandProcessor.h"
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
            // Out of memory for the line: the failure can't be reported.
        }
    }
}

}  // namespace

// Owns queue and thread apart from the processor, which may be destroyed on this very thread.
class ThreadCommandProcessor::Worker : public Thread {
public:
    explicit Worker(const std::string& name) : Thread(name) {}

    // Returns false, without effect, after Close.
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

    // Blocks until commands are posted and moves them all into the empty list. Returns false if the
    // queue is closed and empty.
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
    std::atomic<int> m_idle{0};  // 1 or 0, guarded by m_cs; int is the fastest type for a wait
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
