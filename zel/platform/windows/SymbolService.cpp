#include "zel/platform/windows/SymbolService.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <psapi.h>
#include <string_view>

namespace zel::platform {

namespace {

constinit SRWLOCK s_lock = SRWLOCK_INIT;

// The thread that held the service in a crash didn't release it.
constinit std::atomic<bool> s_isLost{false};

// Identifies this user of the service, as the program may be another one.
constinit HANDLE s_process = nullptr;

bool TryFor(int milliseconds) noexcept {
    for (int waited = 0; waited < milliseconds && !s_isLost; ++waited) {
        if (::TryAcquireSRWLockExclusive(&s_lock) != 0) {
            return true;
        }
        ::Sleep(1);
    }
    s_isLost = true;
    return false;
}

MEMORY_BASIC_INFORMATION Query(std::uint64_t address) noexcept {
    MEMORY_BASIC_INFORMATION region = {};
    void* const memory = reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
    ::VirtualQuery(memory, &region, sizeof region);
    return region;
}

// Returns the number of readable bytes from an address on.
std::uint64_t CountReadable(std::uint64_t address) noexcept {
    const MEMORY_BASIC_INFORMATION region = Query(address);
    const bool isReadable = region.State == MEM_COMMIT &&
                            (region.Protect & (PAGE_NOACCESS | PAGE_GUARD | PAGE_EXECUTE)) == 0;
    const auto start = reinterpret_cast<std::uintptr_t>(region.BaseAddress);
    return isReadable ? start + region.RegionSize - address : 0;
}

BOOL CALLBACK ReadForStep(HANDLE, DWORD64 address, void* buffer, DWORD size, DWORD* read) {
    const bool isRead = ReadMemory(address, buffer, size);
    *read = isRead ? size : 0;
    return isRead ? TRUE : FALSE;
}

template <std::size_t Size>
void CopyText(char (&target)[Size], std::string_view text) noexcept {
    target[text.copy(target, Size - 1)] = '\0';
}

// The loader's list has the path as well, but under a lock.
template <std::size_t Size>
void ReadModulePath(std::uint64_t base, char (&path)[Size]) noexcept {
    constexpr std::string_view local = "\\??\\";
    constexpr std::string_view device = R"(\\?\GLOBALROOT)";
    void* const memory = reinterpret_cast<void*>(static_cast<std::uintptr_t>(base));
    char name[MAX_PATH + 1] = {};
    ::GetMappedFileNameA(::GetCurrentProcess(), memory, name, MAX_PATH);
    const bool isLocal = std::string_view(name).starts_with(local);
    std::snprintf(path, Size, "%s%s", isLocal ? "" : device.data(),
                  isLocal ? name + local.size() : name);
}

// Modules may have been loaded after the list was read.
void KnowModule(std::uint64_t address) noexcept {
    const std::uint64_t base = FindModule(address);
    if (base != 0 && ::SymGetModuleBase64(s_process, address) == 0) {
        char file[MAX_PATH + 32] = {};
        ReadModulePath(base, file);
        ::SymLoadModuleEx(s_process, nullptr, file, nullptr, base, 0, nullptr, 0);
    }
}

// A step also looks up the function that it reaches.
DWORD64 CALLBACK FindBase(HANDLE process, DWORD64 address) {
    KnowModule(address);
    return ::SymGetModuleBase64(process, address);
}

void* CALLBACK FindFunction(HANDLE process, DWORD64 address) {
    KnowModule(address);
    return ::SymFunctionTableAccess64(process, address);
}

}  // namespace

std::uint64_t FindModule(std::uint64_t address) noexcept {
    const MEMORY_BASIC_INFORMATION region = Query(address);
    const bool isModule = region.State == MEM_COMMIT && region.Type == MEM_IMAGE;
    return isModule ? reinterpret_cast<std::uintptr_t>(region.AllocationBase) : 0;
}

bool ReadMemory(std::uint64_t address, void* buffer, std::size_t size) noexcept {
    std::uint64_t end = address;
    while (end - address < size) {
        const std::uint64_t count = CountReadable(end);
        if (count == 0) {
            return false;
        }
        end += count;
    }
    std::memcpy(buffer, reinterpret_cast<const void*>(static_cast<std::uintptr_t>(address)), size);
    return true;
}

const char* Symbol::GetName() const noexcept {
    const bool isMangled = sizeof(void*) == 4 && std::strncmp(name, "__Z", 3) == 0;
    return isMangled ? name + 1 : name;
}

SymbolService::SymbolService(bool isOfCrash) noexcept {
    constexpr int milliseconds = 100;
    if (isOfCrash) {
        m_isOurs = TryFor(milliseconds);
    } else {
        ::AcquireSRWLockExclusive(&s_lock);
        m_isOurs = true;
    }
}

SymbolService::~SymbolService() {
    if (m_isOurs) {
        ::ReleaseSRWLockExclusive(&s_lock);
    }
}

bool SymbolService::Start() noexcept {
    if (s_process != nullptr) {
        return true;
    }
    const HANDLE process =
        ::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, ::GetCurrentProcessId());
    ::SymSetOptions(::SymGetOptions() | SYMOPT_LOAD_LINES | SYMOPT_DEFERRED_LOADS |
                    SYMOPT_FAIL_CRITICAL_ERRORS | SYMOPT_NO_PROMPTS);
    const bool isStarted = process != nullptr && ::SymInitialize(process, nullptr, TRUE) != 0;
    s_process = isStarted ? process : nullptr;
    return isStarted;
}

bool SymbolService::Step(DWORD machine, STACKFRAME64& frame, CONTEXT& context) noexcept {
    return ::StackWalk64(machine, s_process, ::GetCurrentThread(), &frame, &context, ReadForStep,
                         FindFunction, FindBase, nullptr) != 0;
}

void SymbolService::Find(std::uint64_t address, Symbol& symbol) noexcept {
    KnowModule(address);
    alignas(SYMBOL_INFO) char memory[sizeof(SYMBOL_INFO) + sizeof symbol.name] = {};
    auto& found = *reinterpret_cast<SYMBOL_INFO*>(memory);
    found.SizeOfStruct = sizeof(SYMBOL_INFO);
    found.MaxNameLen = sizeof symbol.name - 1;
    DWORD64 offset = 0;
    if (::SymFromAddr(s_process, address, &offset, &found) == 0) {
        return;
    }
    CopyText(symbol.name, found.Name);
    IMAGEHLP_LINE64 line = {};
    line.SizeOfStruct = sizeof line;
    DWORD column = 0;
    if (::SymGetLineFromAddr64(s_process, address, &column, &line) != 0) {
        CopyText(symbol.file, line.FileName);
        symbol.line = static_cast<int>(line.LineNumber);
    }
}

}  // namespace zel::platform
