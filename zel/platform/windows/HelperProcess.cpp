#include "zel/platform/HelperProcess.h"

#include "zel/platform/windows/Handle.h"
#include "zel/platform/windows/PipeOperation.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string_view>

namespace zel::platform {

namespace {

std::wstring Widen(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    const auto size = static_cast<int>(text.size());
    wide.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_ACP, 0, text.data(), size, wide.data(), size)));
    return wide;
}

// The environment of this process, of which each entry ends with a zero.
class Environment {
public:
    Environment() noexcept : m_block(::GetEnvironmentStringsW()) {}
    ~Environment() { ::FreeEnvironmentStringsW(m_block); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    template <class Function>
    void ForEach(Function function) const {
        const wchar_t* entry = m_block;
        while (entry != nullptr && *entry != L'\0') {
            const std::wstring_view text(entry);
            function(text);
            entry += text.size() + 1;
        }
    }

private:
    wchar_t* m_block;
};

// The system requires the order of the names. Names that begin with an equals sign are its own.
bool IsAfter(std::wstring_view entry, const std::wstring& setting) {
    return entry.front() != L'=' && ::_wcsicmp(entry.data(), setting.c_str()) > 0;
}

std::wstring EnvironmentWith(const std::string& variable, const std::string& value) {
    const std::wstring start = Widen(variable + '=');
    const std::wstring setting = start + Widen(value);
    std::wstring block;
    bool isAdded = false;
    const auto add = [&block](std::wstring_view entry) { block.append(entry).push_back(L'\0'); };
    Environment().ForEach([&](std::wstring_view entry) {
        if (!isAdded && IsAfter(entry, setting)) {
            add(setting);
            isAdded = true;
        }
        if (::_wcsnicmp(entry.data(), start.c_str(), start.size()) != 0) {
            add(entry);
        }
    });
    if (!isAdded) {
        add(setting);
    }
    block.push_back(L'\0');
    return block;
}

// Waits for any client. Returns the system's error number.
DWORD Connect(HANDLE pipe, HANDLE event, HANDLE end, DWORD milliseconds) noexcept {
    PipeOperation operation(pipe, event);
    const bool hasSucceeded = ::ConnectNamedPipe(pipe, operation.GetState()) != 0;
    DWORD size = 0;
    const DWORD error = operation.Finish(hasSucceeded, end, milliseconds, size);
    return error == ERROR_PIPE_CONNECTED ? ERROR_SUCCESS : error;
}

bool IsClient(HANDLE pipe, unsigned long process) noexcept {
    ULONG client = 0;
    return ::GetNamedPipeClientProcessId(pipe, &client) == 0 || client == process;
}

BOOL WINAPI IgnoreRequest(DWORD) noexcept {
    return TRUE;
}

}  // namespace

HelperProcess::~HelperProcess() {
    Handle(HandleOf(m_end)).Close();
}

bool HelperProcess::Start(const std::string& variable, CrashChannel& channel, char**) {
    std::string commandLine = ::GetCommandLineA();
    std::wstring environment = EnvironmentWith(variable, channel.GetName());
    char title[] = "crashd";
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.lpTitle = title;
    PROCESS_INFORMATION process = {};
    if (::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE,
                         CREATE_UNICODE_ENVIRONMENT, environment.data(), nullptr, &startup,
                         &process) == 0) {
        return false;
    }
    ::CloseHandle(process.hThread);
    m_process = process.dwProcessId;
    m_end = reinterpret_cast<std::intptr_t>(process.hProcess);
    return true;
}

bool HelperProcess::HasEnded() const noexcept {
    DWORD code = 0;
    return ::GetExitCodeProcess(HandleOf(m_end), &code) == 0 || code != STILL_ACTIVE;
}

// Programs of the same name share the name of the pipe, so that another one's helper may open it.
bool HelperProcess::WaitUntilListening(const CrashChannel& channel, int seconds) noexcept {
    constexpr int millisecondsPerSecond = 1000;
    const HANDLE pipe = HandleOf(channel.m_writer);
    const HANDLE end = HandleOf(m_end);
    const ULONGLONG start = ::GetTickCount64();
    const auto limit = static_cast<ULONGLONG>(seconds) * millisecondsPerSecond;
    for (ULONGLONG past = 0; past <= limit; past = ::GetTickCount64() - start) {
        const DWORD error =
            Connect(pipe, HandleOf(channel.m_reader), end, static_cast<DWORD>(limit - past));
        if (error == ERROR_SUCCESS && IsClient(pipe, m_process)) {
            // A crash would report the error number of the wait.
            ::SetLastError(ERROR_SUCCESS);
            return true;
        }
        // A client that has gone already leaves the second error.
        if (error != ERROR_SUCCESS && error != ERROR_NO_DATA) {
            break;
        }
        ::DisconnectNamedPipe(pipe);
    }
    ::TerminateProcess(end, EXIT_FAILURE);
    return false;
}

bool TakeVariable(const std::string& variable, std::string& value) {
    const char* const found = std::getenv(variable.c_str());
    if (found == nullptr) {
        return false;
    }
    value = found;
    ::_putenv((variable + '=').c_str());
    // Readers of the program's output aren't kept waiting.
    static_cast<void>(std::freopen("NUL", "r", stdin));
    static_cast<void>(std::freopen("NUL", "w", stdout));
    return true;
}

bool IsLostHelper(const std::string& ending) {
    const std::wstring start = Widen(ending + "=\\\\.\\pipe\\");
    bool isLost = false;
    Environment().ForEach([&](std::wstring_view entry) {
        isLost = isLost || (entry.find(start) != std::wstring_view::npos &&
                            entry.ends_with(L"_crash_data.fifo"));
    });
    return isLost;
}

void IgnoreTerminationSignals() noexcept {
    ::SetConsoleCtrlHandler(IgnoreRequest, TRUE);
}

}  // namespace zel::platform
