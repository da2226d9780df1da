#pragma once

#include <cstddef>
#include <cstdint>

namespace zel::platform {

// Walking the calling thread's stack. A new system must offer these. All serve a thread that has
// crashed, as far as each says so: they allocate nothing and take no lock that such a thread could
// be kept from.

// A function on the stack. Texts are null where nothing is known, and good for the time of the call
// that passes them.
struct StackFrame {
    std::uint64_t address = 0;
    std::uint64_t moduleOffset = 0;
    const char* module = nullptr;
    const char* function = nullptr;
    const char* file = nullptr;
    int line = 0;
};

// Receives what is found, in the calls that find it.
class StackTraceSink {
public:
    virtual void OnModule(const char* file, std::uint64_t base) = 0;
    virtual void OnFrame(const StackFrame& frame) = 0;
    // So many calls between the frame before and the next are left out.
    virtual void OnGap(std::size_t count) = 0;
    // A service of the system that looks up names has failed.
    virtual void OnFailure(const char* service, unsigned long error, std::uint64_t address) = 0;

protected:
    ~StackTraceSink() = default;
};

// The name of the service that looks up names.
const char* StackTraceService() noexcept;

// Readies a walk, and tells the modules of the process, the program first. False if `processId` is
// neither 0 nor this process, or the system refuses.
bool PrepareStackTrace(unsigned long processId, StackTraceSink& sink);

// The same for the end of a crash, without a word of modules, and so without the lock on them.
bool PrepareCrashTrace(unsigned long processId) noexcept;

// Tells the frames from the function on that called the caller of this one, or from the one on that
// `context`, the machine context of a fault in this thread, belongs to. At the end of a crash each
// module is looked into when the walk comes to it, whenever it was loaded, and one thread of the
// process walks. False if there is no frame.
bool WalkStack(const void* context, bool isOfCrash, StackTraceSink& sink);

// The readable form of a function's name, cut to what fits; false, and an empty text, for a name
// that has no other form, or where that takes memory which may not be asked for.
bool UndecorateName(const char* name, bool mayAllocate, char* buffer, std::size_t size);

}  // namespace zel::platform
