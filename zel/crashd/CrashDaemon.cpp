#include "zel/crashd/CrashDaemon.h"

#include "zel/core/StringUtils.h"
#include "zel/platform/CrashChannel.h"
#include "zel/platform/HelperProcess.h"
#include "zel/platform/SystemError.h"
#include "zel/platform/ThreadInfo.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <system_error>
#include <thread>

namespace zel {

namespace {

constexpr std::chrono::seconds EXIT_TIMEOUT{1};

constinit zel_crash_msg_s s_record = {};

template <std::size_t Size>
void SetText(char (&field)[Size], const std::string& text) {
    field[text.copy(field, Size - 1)] = '\0';
}

template <std::size_t Size>
void TerminateText(char (&field)[Size]) {
    field[Size - 1] = '\0';
}

zel_crash_msg_s MakeOwnFault(int error) {
    zel_crash_msg_s record = {};
    SetText(record.prog_name, "crashd");
    record.pid = static_cast<std::uint32_t>(platform::CurrentProcessNumber());
    record.tid = static_cast<std::uint32_t>(platform::CurrentThreadNumber());
    record.last_error = error;
    record.timestamp = static_cast<std::uint32_t>(std::time(nullptr));
    SetText(record.ancillary,
            StringUtils::Format("CrashHandler Daemon fault - bailing! LastError=%d: %s\n", error,
                                platform::SystemErrorText(error).c_str()));
    return record;
}

// Ends the process without its exit handlers and static destructors if these take too long: they
// may wait for something that only the program does.
[[noreturn]] void ExitProcess(int code) {
    try {
        std::thread([code] {
            std::this_thread::sleep_for(EXIT_TIMEOUT);
            std::_Exit(code);
        }).detach();
    } catch (const std::system_error&) {
    }
    std::fflush(nullptr);
    std::exit(code);
}

// Returns false if the program ended without a crash.
bool ReceiveCrashMessage(const char* pipeName) {
    platform::CrashChannelReader channel;
    if (!channel.Open(pipeName)) {
        const int error = platform::LastSystemError();
        std::cerr << "crashd: Failed to open the crash data pipe '" << pipeName << "'\n"
                  << std::flush;
        ExitProcess(error);
    }
    return ReadCrashMessage(
        [&channel](void* buffer, std::size_t size) { return channel.Read(buffer, size); },
        s_record);
}

}  // namespace

bool ReadCrashMessage(const std::function<std::size_t(void* buffer, std::size_t size)>& read,
                      zel_crash_msg_s& record) {
    char* const bytes = reinterpret_cast<char*>(&record);
    for (std::size_t received = 0; received < sizeof(record);) {
        const std::size_t missing = sizeof(record) - received;
        const std::size_t count = read(bytes + received, missing);
        if (count == 0 || count > missing) {
            return false;
        }
        received += count;
    }
    return true;
}

void CheckCrashMessage(zel_crash_msg_s& record, int error, std::ostream& out) {
    if (record.magic != MAGIC) {
        out << StringUtils::Format("crashd: MAGIC bytes are wrong (0x%08x)!\n", record.magic)
            << std::flush;
        record = MakeOwnFault(error);
        return;
    }
    TerminateText(record.prog_name);
    TerminateText(record.asserts);
    TerminateText(record.ancillary);
}

void crashd_main(const char* pipeName, CrashCallback callback) noexcept {
    platform::IgnoreTerminationSignals();
    std::cerr << "crashd_main: Win32!\n" << std::flush;
    if (!ReceiveCrashMessage(pipeName)) {
        ExitProcess(EXIT_SUCCESS);
    }
    CheckCrashMessage(s_record, platform::LastSystemError(), std::cerr);
    if (callback) {
        callback->Call(&s_record);
    } else {
        PrintCrashReport(s_record, std::cerr);
    }
    ExitProcess(EXIT_SUCCESS);
}

}  // namespace zel
