#pragma once

#include "zel/core/Event.h"

#include <string>
#include <thread>

namespace zel {

/// A thread that runs the `Run` function of a derived class. Requires: the object is on the heap
/// and held by an RCPtr. A running thread holds a reference to its own object until `Run` has
/// returned, so its owner may release it at any time.
///
///     class Sampler : public Thread {
///         void Run() override {
///             while (!ShouldStop()) { ... m_stopEvent->Wait(100); }
///         }
///     };
///     RCPtr<Sampler> sampler(new Sampler);
///     sampler->Start();
///     ...
///     sampler->RequestStop();
///     sampler->Join();
///
/// On Windows a thread can't be a static object of a DLL, nor be started or joined by one: the
/// loader's lock is held there.
///
/// An exception that escapes `Run` is logged at level 2 with the thread's name and ends this thread
/// only. A stop that is requested before the start remains requested. Thread-safe.
///
/// Guide: docs/core.md
class ZEL_CORE_API Thread : public RCObject {
public:
    /// Makes a thread that is not started. The name is shown in log lines, in debuggers and by
    /// `top` (the first 15 bytes on Linux).
    explicit Thread(std::string name = {});

    /// Waits until a thread that has left `Run` has ended, unless it is the calling thread.
    ~Thread() override;

    /// Does the work of the thread. It should return, or throw, soon after `ShouldStop` becomes
    /// true. Ending or cancelling the thread with functions of the system terminates the process.
    virtual void Run() = 0;

    /// Requests the thread to stop. Doesn't wait.
    virtual void RequestStop();

    /// Starts the thread. Returns false without effect if it was started before. Throws
    /// `std::system_error` if the system can't create a thread; `Start` may then be called again.
    bool Start();

    /// Blocks until the thread has ended. If several threads call it, one waits for the end of the
    /// system's thread, the others until `Run` has returned. Returns immediately if the thread was
    /// never started or is the calling thread.
    void Join();

    /// Returns true from `Start` until `Run` has returned.
    bool IsRunning() const;

    /// Returns true after `RequestStop`.
    bool ShouldStop() const;

    /// Returns the name.
    std::string GetName() const;

    /// Suspends the calling thread, measured on the monotonic clock. Returns immediately for 0 and
    /// less.
    static void SleepFor(int milliseconds);

    /// Makes waits and sleeps of the calling thread end as close to their time as the system
    /// allows. By default they may take about 50 microseconds longer, which saves wake-ups. Returns
    /// how much later than its time a wait then usually ends at most, in seconds.
    static double BePunctual() noexcept;

protected:
    /// The name. A derived class may change it before the start.
    std::string m_name;

    /// The manual-reset event that `RequestStop` signals.
    RCPtr<Event> m_stopEvent;

private:
    void RunGuarded() noexcept;

    mutable CriticalSection m_cs;
    bool m_started = false;
    RCPtr<Event> m_ended;
    std::thread m_thread;
};

}  // namespace zel
