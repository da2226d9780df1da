#include "zel/platform/ProcessTable.h"

#include <array>
#include <windows.h>

// Needs the definitions of windows.h.
#include <psapi.h>

namespace zel::platform {

namespace {

// An open process, closed at the end of the scope. Null if it couldn't be opened.
class Process {
public:
    explicit Process(unsigned int id) noexcept
        : m_handle(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id)) {}
    ~Process() {
        if (m_handle != nullptr) {
            ::CloseHandle(m_handle);
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    HANDLE Get() const noexcept { return m_handle; }

private:
    const HANDLE m_handle;
};

}  // namespace

bool ListProcessIds(std::vector<unsigned int>& processes) {
    std::vector<DWORD> found(1024);
    for (;;) {
        const auto size = static_cast<DWORD>(found.size() * sizeof(DWORD));
        DWORD used = 0;
        if (::EnumProcesses(found.data(), size, &used) == 0) {
            return false;
        }
        // A full array may be too small.
        if (used < size) {
            found.resize(used / sizeof(DWORD));
            processes.insert(processes.end(), found.begin(), found.end());
            return true;
        }
        found.resize(2 * found.size());
    }
}

std::string ReadProcessName(unsigned int process) {
    const Process opened(process);
    std::array<char, MAX_PATH> name = {};
    HMODULE module = nullptr;
    DWORD needed = 0;
    if (opened.Get() == nullptr ||
        ::EnumProcessModules(opened.Get(), &module, sizeof module, &needed) == 0) {
        return {};
    }
    const DWORD length = ::GetModuleBaseNameA(opened.Get(), module, name.data(), MAX_PATH);
    return {name.data(), length};
}

}  // namespace zel::platform
