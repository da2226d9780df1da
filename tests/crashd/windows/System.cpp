#include "tests/crashd/System.h"

#include "tests/support/ChildProcess.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <windows.h>

namespace zel::crashtest {

namespace {

const std::string PIPE = "\\\\.\\pipe\\alone_crash_data.fifo";

struct Station {
    Station() { Describe(); }
    virtual ~Station() = default;
    virtual int GetHeight() const = 0;
    [[gnu::noinline]] void Describe() const { std::printf("%d", GetHeight()); }
};

struct Buoy : Station {
    int GetHeight() const override { return 0; }
};

// "raise:CODE" is a fault as the system reports it.
void Raise() {
    ::RaiseException(static_cast<DWORD>(std::strtoul(GetDeath().c_str() + 6, nullptr, 16)), 0, 0,
                     nullptr);
}

bool IsHelper() {
    return std::getenv("alone_SHOULD_START_DAEMON_") != nullptr;
}

// A helper process that opens the channel and doesn't read until its program has ended.
void OpenChannelOnly() {
    if (IsHelper()) {
        const HANDLE pipe = ::CreateFileA(PIPE.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                          OPEN_EXISTING, 0, nullptr);
        ULONG program = 0;
        ::GetNamedPipeServerProcessId(pipe, &program);
        ::WaitForSingleObject(::OpenProcess(SYNCHRONIZE, FALSE, program), INFINITE);
        std::_Exit(0);
    }
}

// Another pipe of that name, with a limit of one instance.
void TakeName() {
    ::CreateNamedPipeA(PIPE.c_str(), PIPE_ACCESS_INBOUND, 0, 1, 0, 0, 0, nullptr);
}

// Replaces the start of the function that looks up names.
void PatchSymbols(const char* code) {
    const FARPROC function = ::GetProcAddress(::GetModuleHandleA("dbghelp.dll"), "SymFromAddr");
    void* const start = reinterpret_cast<void*>(function);
    DWORD before = 0;
    ::VirtualProtect(start, 2, PAGE_EXECUTE_READWRITE, &before);
    std::memcpy(start, code, 2);
}

alignas(4096) volatile char s_page[4096] = {};
DWORD s_before = 0;

LONG WINAPI Repair(EXCEPTION_POINTERS*) {
    void* const page = const_cast<char*>(s_page);
    const bool isProtected = s_before != 0;
    return isProtected && ::VirtualProtect(page, sizeof(s_page), PAGE_READWRITE, &s_before) != 0
               ? EXCEPTION_CONTINUE_EXECUTION
               : EXCEPTION_CONTINUE_SEARCH;
}

void UsePage() {
    ::VirtualProtect(const_cast<char*>(s_page), sizeof(s_page), PAGE_NOACCESS, &s_before);
    s_page[0] = 1;
    s_before = 0;
    Print("recovered");
}

}  // namespace

const Works SYSTEM_WORKS = {
    {"before death", [] { ::SetLastError(ERROR_SUCCESS); }},
    {"illegal", [] { __builtin_trap(); }},
    {"breakpoint", [] { asm volatile("int3"); }},
    {"pure", [] { const Buoy buoy; }},
    {"raise", Raise},
    {"error", [] { ::SetLastError(5), WriteToNowhere(); }},
    {"kill", [] { ::TerminateProcess(::GetCurrentProcess(), 3); }},
    {"alone, name taken", TakeName},
    {"missing program", [] { std::strcpy(::GetCommandLineA(), "missing"); }},
    {"alone, helper ends", [] { IsHelper() ? std::_Exit(0) : void(); }},
    {"alone, silent helper", OpenChannelOnly},
    {"late endless symbols", [] { PatchSymbols("\xEB\xFE"); }},
    {"late broken symbols", [] { PatchSymbols("\x0F\x0B"); }},
    {"repair", [] { ::SetUnhandledExceptionFilter(Repair); }},
    {"late repair", UsePage},
};

const char* const SOURCE_FILE = "C:\\src\\a b\\Main.cpp";

// The system looks for it in the program's folder.
int (*OpenPlugin(const std::string& file))(Work die) {
    const std::string name = file.substr(file.find_last_of('/') + 1);
    const FARPROC function = ::GetProcAddress(::LoadLibraryA(name.c_str()), "CallFromPlugin");
    return reinterpret_cast<int (*)(Work)>(reinterpret_cast<void*>(function));
}

int GetOwnNumber() {
    return static_cast<int>(::GetCurrentProcessId());
}

// Daemons end before the streams that they share do.
void WaitForOrphans() {}

void PrepareTests() {}

}  // namespace zel::crashtest
