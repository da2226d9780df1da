#include "zel/platform/windows/GuardedWork.h"

#include "zel/platform/FaultTrap.h"
#include "zel/platform/windows/KeptThread.h"

#include <algorithm>
#include <array>

namespace zel::platform {

namespace {

struct Worker {
    KeptThread thread;
    enum { FREE, BUSY, LOST } state = FREE;
};

// One for work, one for the work within it, and one in place of the first that is lost. A thread
// takes the first one that is free, so that inner work has a later one than its caller.
constinit std::array<Worker, 3> s_workers = {};

Worker* FindWorker() noexcept {
    for (Worker& worker : s_workers) {
        if (worker.state == Worker::FREE && worker.thread.IsRunning()) {
            return &worker;
        }
    }
    return nullptr;
}

Worker* FindCurrentWorker() noexcept {
    for (Worker& worker : s_workers) {
        if (worker.thread.IsCurrent()) {
            return &worker;
        }
    }
    return nullptr;
}

// Stops a worker and those that it waits for, so that they change nothing any more.
void Abandon(Worker* first) noexcept {
    for (Worker* worker = first; worker != s_workers.end(); ++worker) {
        if (worker->state == Worker::BUSY) {
            worker->state = Worker::LOST;
            worker->thread.Suspend();
        }
    }
}

// Without a thread the handler of a fault does the work itself, and work does none within it.
bool DoWithoutThread(void (*work)(void*), void* argument) noexcept {
    if (FindCurrentWorker() != nullptr) {
        return false;
    }
    work(argument);
    return true;
}

}  // namespace

void StartGuardedWork() noexcept {
    for (Worker& worker : s_workers) {
        worker.thread.Start();
    }
}

void AbandonGuardedWork() noexcept {
    if (Worker* const worker = FindCurrentWorker()) {
        worker->thread.Fail();
    }
}

bool DoGuarded(void (*work)(void*), void* argument, std::chrono::milliseconds limit) noexcept {
    Worker* const worker = FindWorker();
    if (worker == nullptr) {
        return DoWithoutThread(work, argument);
    }
    worker->state = Worker::BUSY;
    worker->thread.Begin(work, argument);
    if (!worker->thread.Wait(static_cast<DWORD>(limit.count()))) {
        Abandon(worker);
        return false;
    }
    worker->state = Worker::FREE;
    return true;
}

}  // namespace zel::platform
