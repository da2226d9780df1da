#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>
#include <windows.h>

namespace zel::test {

namespace {

constexpr DWORD TIMEOUT = 30'000;
constexpr UINT KILLED = 0x10000;

// Programs of tests that crash end without a dialog.
[[maybe_unused]] const UINT s_errorMode =
    ::SetErrorMode(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS);

void Require(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

// A pipe, whose end of this process can be read with a time limit.
struct Pipe {
    explicit Pipe(bool isInput) {
        static int s_count = 0;
        const std::string name = "\\\\.\\pipe\\zel_test_" +
                                 std::to_string(::GetCurrentProcessId()) + '_' +
                                 std::to_string(s_count++);
        ours = ::CreateNamedPipeA(
            name.c_str(),
            (isInput ? PIPE_ACCESS_OUTBOUND : PIPE_ACCESS_INBOUND) | FILE_FLAG_OVERLAPPED, 0, 1,
            65536, 65536, 0, nullptr);
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        childs = ::CreateFileA(name.c_str(), isInput ? GENERIC_READ : GENERIC_WRITE, 0, &inherited,
                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        Require(ours != INVALID_HANDLE_VALUE && childs != INVALID_HANDLE_VALUE);
    }

    HANDLE ours;
    HANDLE childs;
};

// Waits for an operation on a pipe and returns the number of bytes.
DWORD Finish(HANDLE pipe, OVERLAPPED& operation, bool isStarted) {
    DWORD count = 0;
    if (isStarted || ::GetLastError() == ERROR_IO_PENDING) {
        if (::WaitForSingleObject(operation.hEvent, TIMEOUT) != WAIT_OBJECT_0) {
            ::CancelIo(pipe);
        }
        ::GetOverlappedResult(pipe, &operation, &count, TRUE);
    }
    ::CloseHandle(operation.hEvent);
    return count;
}

OVERLAPPED StartOperation() {
    OVERLAPPED operation = {};
    operation.hEvent = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    return operation;
}

std::string CommandLine(const std::vector<std::string>& command) {
    std::string line;
    for (const std::string& word : command) {
        line += (line.empty() ? "\"" : " \"") + word + '"';
    }
    return line;
}

}  // namespace

std::string OwnProgram() {
    std::array<char, MAX_PATH> path = {};
    ::GetModuleFileNameA(nullptr, path.data(), MAX_PATH);
    return path.data();
}

void SetVariable(const std::string& name, const std::string& value) {
    ::_putenv_s(name.c_str(), value.c_str());
}

struct ChildProcess::Body {
    void Start(const std::vector<std::string>& command) {
        const Pipe pipes[] = {Pipe(true), Pipe(false), Pipe(false)};
        STARTUPINFOA start = {};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = pipes[INPUT].childs;
        start.hStdOutput = pipes[OUTPUT].childs;
        start.hStdError = pipes[ERRORS].childs;
        PROCESS_INFORMATION started = {};
        Require(::CreateProcessA(nullptr, CommandLine(command).data(), nullptr, nullptr, TRUE, 0,
                                 nullptr, nullptr, &start, &started) != 0);
        ::CloseHandle(started.hThread);
        process = started.hProcess;
        for (const Stream stream : {INPUT, OUTPUT, ERRORS}) {
            ::CloseHandle(pipes[stream].childs);
            streams[stream] = pipes[stream].ours;
        }
    }

    HANDLE process = nullptr;
    HANDLE streams[3] = {};
};

ChildProcess::ChildProcess(const std::vector<std::string>& command)
    : m_body(std::make_unique<Body>()) {
    m_body->Start(command);
}

ChildProcess::~ChildProcess() {
    Kill();
    Wait();
    CloseInput();
    ::CloseHandle(m_body->streams[OUTPUT]);
    ::CloseHandle(m_body->streams[ERRORS]);
    ::CloseHandle(m_body->process);
}

int ChildProcess::GetId() const {
    return static_cast<int>(::GetProcessId(m_body->process));
}

void ChildProcess::Kill() const {
    ::TerminateProcess(m_body->process, KILLED);
}

int ChildProcess::Wait() {
    if (::WaitForSingleObject(m_body->process, TIMEOUT) != WAIT_OBJECT_0) {
        Kill();
        ::WaitForSingleObject(m_body->process, TIMEOUT);
    }
    DWORD code = 0;
    ::GetExitCodeProcess(m_body->process, &code);
    return static_cast<int>(code);
}

void ChildProcess::Write(std::string_view text) const {
    OVERLAPPED operation = StartOperation();
    const HANDLE pipe = m_body->streams[INPUT];
    const BOOL isStarted =
        ::WriteFile(pipe, text.data(), static_cast<DWORD>(text.size()), nullptr, &operation);
    Finish(pipe, operation, isStarted != 0);
}

void ChildProcess::CloseInput() {
    if (m_body->streams[INPUT] != nullptr) {
        ::CloseHandle(std::exchange(m_body->streams[INPUT], nullptr));
    }
}

bool ChildProcess::ReadSome(Stream stream, std::string& text, std::size_t size) const {
    char block[4096];
    OVERLAPPED operation = StartOperation();
    const HANDLE pipe = m_body->streams[stream];
    const BOOL isStarted = ::ReadFile(pipe, block, static_cast<DWORD>(size), nullptr, &operation);
    const DWORD count = Finish(pipe, operation, isStarted != 0);
    std::copy_if(block, block + count, std::back_inserter(text), [](char c) { return c != '\r'; });
    return count > 0;
}

}  // namespace zel::test
