#pragma once

#include "zel/core/Event.h"

#include <string>
#include <thread>

namespace zel {

// A thread of its own for a derived class's Run. Lives on the heap in an RCPtr: a started thread
// holds its own object until Run has returned, so the owner may drop it at any time.
//
//     class Sampler : public Thread {
//         void Run() override {
//             while (!ShouldStop()) { ... m_stopEvent->Wait(100); }
//         }
//     };
//     RCPtr<Sampler> sampler(new Sampler);
//     sampler->Start();
//     ...
//     sampler->RequestStop();
//     sampler->Join();
//
// An exception that leaves Run is logged at level 2 with the thread's name and ends this thread
// alone. All calls are safe from any thread. A stop that was asked for before the start stays.
class ZEL_CORE_API Thread : public RCObject {
public:
    // The name shows in log lines, debuggers and `top` (its first 15 bytes on Linux).
    explicit Thread(std::string name = {});

    // Waits for a thread that is past Run; on that very thread it lets go of it instead.
    ~Thread() override;

    // The thread's work. It should come back soon after ShouldStop turned true, by a return or an
    // exception: a thread that the system's own means end or cancel ends the process.
    virtual void Run() = 0;

    // Asks the thread to stop and doesn't wait for it.
    virtual void RequestStop();

    // Starts the thread: true the first time, and false without effect ever after. Throws
    // std::system_error when the system gives no thread; then it may be tried again.
    bool Start();

    // Waits until the thread has ended; of several callers one waits to its very end, the others
    // until Run has returned. Returns at once if it was never started or is the caller.
    void Join();

    // True from Start until Run has returned.
    bool IsRunning() const;

    // True once RequestStop was called.
    bool ShouldStop() const;

    // The name that shows.
    std::string GetName() const;

    // Puts the calling thread to sleep, on the monotonic clock; 0 or less doesn't.
    static void SleepFor(int milliseconds);

    // Makes the calling thread's waits and sleeps end as near to their time as the system can; by
    // default it may let them last some 50 microseconds longer, to save wake-ups.
    static void BePunctual() noexcept;

protected:
    // May be set by a derived class up to the start.
    std::string m_name;

    // Signalled by RequestStop; type 0.
    RCPtr<Event> m_stopEvent;

private:
    void RunGuarded() noexcept;

    mutable CriticalSection m_cs;
    bool m_started = false;
    RCPtr<Event> m_ended;
    std::thread m_thread;
};

}  // namespace zel
