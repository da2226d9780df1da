#pragma once

#include <cstddef>
#include <cstdint>
#include <windows.h>

// Needs the definitions of windows.h.
#include <dbghelp.h>

namespace zel::platform {

/// Returns the load address of the program or DLL around an address, 0 if there is none. Takes no
/// lock.
std::uint64_t FindModule(std::uint64_t address) noexcept;

/// Copies memory of this process. Returns false if any of it isn't readable.
bool ReadMemory(std::uint64_t address, void* buffer, std::size_t size) noexcept;

/// What is known of an address.
struct Symbol {
    bool HasName() const noexcept { return GetName()[0] != '\0'; }

    /// Returns the name without the underscore that 32-bit linkers put before each.
    const char* GetName() const noexcept;

    char name[1024] = {};
    char file[1024] = {};
    int line = 0;
};

/// Holds dbghelp, which serves one thread at a time, for the calling thread.
class SymbolService {
public:
    /// Waits for it. In a crash it waits shortly and only once, because the thread that holds it
    /// may never run again.
    explicit SymbolService(bool isOfCrash) noexcept;
    ~SymbolService();
    SymbolService(const SymbolService&) = delete;
    SymbolService& operator=(const SymbolService&) = delete;

    bool IsOurs() const noexcept { return m_isOurs; }

    // Requires for the next: a service that is ours, or a crash.

    /// Reads the list of modules when it is first called. Returns false, with the system's error
    /// number, on failure.
    static bool Start() noexcept;

    /// Advances to the next function on a stack, at first to the innermost.
    static bool Step(DWORD machine, STACKFRAME64& frame, CONTEXT& context) noexcept;

    /// Looks up an address. The error of a look-up that fails is no more than that there is no
    /// symbol.
    static void Find(std::uint64_t address, Symbol& symbol) noexcept;

private:
    bool m_isOurs = false;
};

}  // namespace zel::platform
