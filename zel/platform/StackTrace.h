#pragma once

#include <cstddef>
#include <cstdint>

namespace zel::platform {

/// Walks the calling thread's stack. Each system implements these. They serve a thread that has
/// crashed, where the comment says so: they allocate nothing and take no lock that such a thread
/// could block on.

/// A function on the stack. Unknown texts are null; texts are valid during the call that passes
/// them.
struct StackFrame {
    std::uint64_t address = 0;
    std::uint64_t moduleOffset = 0;
    const char* module = nullptr;
    const char* function = nullptr;
    const char* file = nullptr;
    int line = 0;
};

/// Receives the results of a walk.
class StackTraceSink {
public:
    virtual void OnModule(const char* file, std::uint64_t base) = 0;
    virtual void OnFrame(const StackFrame& frame) = 0;
    /// `count` calls between the previous frame and the next are left out.
    virtual void OnGap(std::size_t count) = 0;
    /// A symbol service of the system has failed.
    virtual void OnFailure(const char* service, unsigned long error, std::uint64_t address) = 0;

protected:
    ~StackTraceSink() = default;
};

/// Returns the name of the symbol service.
const char* StackTraceService() noexcept;

/// Prepares a walk and reports the modules of the process, the program first. Returns false if
/// `processId` is neither 0 nor this process, or if the system refuses.
bool PrepareStackTrace(unsigned long processId, StackTraceSink& sink);

/// Prepares the walk of a crash. Reports no modules and so doesn't take the loader's lock.
bool PrepareCrashTrace(unsigned long processId) noexcept;

/// Reports the frames from the caller of this function's caller on, or from the function of
/// `context`, the machine context of a fault in this thread. In the walk of a crash each module is
/// read when the walk reaches it, whenever it was loaded, and one thread of the process walks.
/// Returns false if there is no frame.
bool WalkStack(const void* context, bool isOfCrash, StackTraceSink& sink);

/// Writes the readable form of a function's name to `buffer`, truncated to `size`. Returns false,
/// with an empty text, if the name has no other form, or if that needs memory and `mayAllocate` is
/// false.
bool UndecorateName(const char* name, bool mayAllocate, char* buffer, std::size_t size);

}  // namespace zel::platform
