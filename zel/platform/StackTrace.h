#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zel::platform {

/// Walks the calling thread's stack. Each system implements these. They serve a thread that has
/// crashed, where the comment says so: they take no lock that such a thread could block on, and
/// allocate nothing, unless the system's own service does (as on Windows, where another thread
/// walks the stack of the one that has crashed and is abandoned if it doesn't get on).

/// A function on the stack. Unknown texts are null; texts are valid during the call that passes
/// them.
struct StackFrame {
    std::uint64_t address = 0;
    std::uint64_t moduleOffset = 0;
    const char* module = nullptr;
    const char* function = nullptr;
    const char* file = nullptr;
    int line = 0;
    bool isUnread = false;  ///< names weren't looked up, or the look-up was abandoned
};

/// Receives what is found.
class StackTraceSink {
public:
    virtual void OnModule(const char* file, std::uint64_t base) = 0;
    virtual void OnFrame(const StackFrame& frame) = 0;
    /// A symbol service of the system has failed.
    virtual void OnFailure(const char* service, unsigned long error, std::uint64_t address) = 0;

protected:
    ~StackTraceSink() = default;
};

/// The addresses of a walk. Of more calls than it holds, the middle is left out. If the walk is
/// abandoned, the addresses up to there are valid.
struct StackAddresses {
    static constexpr std::size_t HEAD_SIZE = 992;
    static constexpr std::size_t TAIL_SIZE = 32;

    void Clear() noexcept { m_count = 0; }

    /// Appends an address; the last ones replace those before them when the array is full.
    void Add(std::uint64_t address) noexcept {
        const std::size_t count = m_count;
        m_values[count < HEAD_SIZE ? count : HEAD_SIZE + count % TAIL_SIZE] = address;
        m_count = count + 1;
    }

    std::size_t GetCount() const noexcept {
        return m_count < m_values.size() ? m_count : m_values.size();
    }

    /// Returns the number of calls that are left out after the first HEAD_SIZE.
    std::size_t GetGap() const noexcept { return m_count - GetCount(); }

    /// Returns one of GetCount addresses, the innermost first.
    std::uint64_t Get(std::size_t index) const noexcept {
        const std::size_t position = index + GetGap();
        return m_values[index < HEAD_SIZE ? index : HEAD_SIZE + position % TAIL_SIZE];
    }

private:
    std::array<std::uint64_t, HEAD_SIZE + TAIL_SIZE> m_values = {};
    std::size_t m_count = 0;
};

/// Returns the name of the symbol service.
const char* StackTraceService() noexcept;

/// Prepares a walk and reports the modules of the process, the program first. Returns false if
/// `processId` is neither 0 nor this process, or if the system refuses.
bool PrepareStackTrace(unsigned long processId, StackTraceSink& sink);

/// Prepares the walk of a crash. Reports no modules and so doesn't take the loader's lock.
bool PrepareCrashTrace(unsigned long processId) noexcept;

/// Collects the calls from the function of `context` on, the machine context of a fault in this
/// thread, or in one that waits there; if that is null, from the call on that returns to
/// `returnAddress`.
void CollectStack(const void* context, const void* returnAddress, bool isOfCrash,
                  StackAddresses& stack);

/// Reports the function at an address, after the functions that were inlined there, if the system
/// knows them. In a crash each
/// module is read when it is first needed, whenever it was loaded; a frame in a module
/// that can't be read, or whose reading was abandoned before, is reported as unread. One thread of
/// the process reports a crash.
void ReportFrame(std::uint64_t address, bool isOfCrash, StackTraceSink& sink);

/// Reports an address with its module as unread.
void ReportUnreadFrame(std::uint64_t address, StackTraceSink& sink);

/// Writes the readable form of a function's name to `buffer`, truncated to `size`. Returns false,
/// with an empty text, if the name has no other form, or if that needs memory and `mayAllocate` is
/// false.
bool UndecorateName(const char* name, bool mayAllocate, char* buffer, std::size_t size);

}  // namespace zel::platform
