#include "zel/crashd/CrashHandler.h"

#include "zel/foundation/Log.h"
#include "zel/platform/CrashChannel.h"
#include "zel/platform/FaultStack.h"
#include "zel/platform/FaultTrap.h"
#include "zel/platform/HelperProcess.h"
#include "zel/platform/PathName.h"
#include "zel/platform/SystemError.h"
#include "zel/platform/ThreadInfo.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace zel {

namespace {

const LogArea s_log("crashd/CrashHandler", 3);

// Static, so that a crash needs no memory.
constinit platform::CrashChannel s_channel;
constinit zel_crash_msg_s s_record = {};

// Together the longest delay of a crashed program's end.
constexpr std::chrono::milliseconds WALK_TIMEOUT{3000};
constexpr std::chrono::milliseconds UNREAD_TIMEOUT{500};  // to add what the walk hasn't read
constexpr std::chrono::milliseconds SEND_TIMEOUT{1000};

// A module that takes longer is left out, so that the others can be read.
constexpr std::chrono::milliseconds LOOKUP_TIMEOUT{1000};

// The daemon never gets that far if it waits for something this process holds.
constexpr int CONNECT_TIMEOUT = 30;  // seconds

constexpr const char* VARIABLE_ENDING = "_SHOULD_START_DAEMON_";

std::string VariableFor(const char* program) {
    return std::string(program) + VARIABLE_ENDING;
}

// A helper process that isn't the daemon would do the program's work a second time.
void EndLostHelper() {
    if (platform::IsLostHelper(VARIABLE_ENDING)) {
        Log(s_log, 2,
            "[CrashHandler::Initialize] The crash daemon doesn't find its variable, because its "
            "argv[0] isn't that of the program. It ends.");
        std::_Exit(EXIT_FAILURE);
    }
}

bool CreateChannel(const char* program) {
    if (!s_channel.Create(program)) {
        const int error = platform::LastSystemError();
        Log(s_log, 2, "[CrashHandler::Initialize] Error creating the NamedPipe. System said '",
            error, "'");
        return false;
    }
    return true;
}

bool StartDaemon(const std::string& variable, char** arguments, platform::HelperProcess& daemon) {
    if (!daemon.Start(variable, s_channel, arguments)) {
        const int error = platform::LastSystemError();
        Log(s_log, 2,
            "[CrashHandler::Initialize] Could not start crash daemon process! System said: '",
            error, "'");
        return false;
    }
    if (daemon.HasEnded()) {
        Log(s_log, 2, "[CrashHandler::Initialize] Crash daemon didn't start running!");
        return false;
    }
    Log(s_log, 4, "[CrashHandler::Initialize] Successfully started crash daemon: PID=",
        daemon.GetProcessNumber(), ": waiting for pipe connection...");
    return true;
}

void PrepareRecord(const char* program) {
    s_record = {};
    s_record.magic = MAGIC;
    std::copy_n(program, std::min(std::strlen(program), sizeof(s_record.prog_name)),
                s_record.prog_name);
    s_record.pid = static_cast<std::uint32_t>(platform::CurrentProcessNumber());
}

bool Connect(platform::HelperProcess& daemon) {
    if (!daemon.WaitUntilListening(s_channel, CONNECT_TIMEOUT)) {
        Log(s_log, 2,
            "[CrashHandler::Initialize] crash daemon never connected to the PIPE! Crash handling "
            "disabled.");
        return false;
    }
    Log(s_log, 4, "[CrashHandler::Initialize] Successfully initialized crash handling.");
    return true;
}

void FillRecord(const platform::FaultRecord& fault) {
    s_record.timestamp = static_cast<std::uint32_t>(std::time(nullptr));
    s_record.magic = MAGIC;
    s_record.exception_code = fault.code;
    s_record.exception_flags = fault.flags;
    s_record.last_error = fault.error;
    s_record.signal_error = fault.error;
    s_record.fault_address = static_cast<std::uint32_t>(fault.address & 0xFFFFFFFFU);
    s_record.pid = static_cast<std::uint32_t>(platform::CurrentProcessNumber());
    s_record.tid = fault.thread;
}

// Limits each step of the walk, and all together.
class CrashWalker : public ZelStackWalker {
public:
    explicit CrashWalker(const void* context)
        : ZelStackWalker(s_record.pid, nullptr, s_record.tid, &s_record, {Attempt}),
          m_context(context) {}

    void Run() {
        s_deadline = Clock::now() + WALK_TIMEOUT;
        if (LoadModules()) {
            ShowCallstack(nullptr, m_context, nullptr, nullptr);
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    static bool Attempt(void (*work)(void*), void* argument) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(s_deadline - Clock::now());
        const auto limit = std::min(left, LOOKUP_TIMEOUT);
        return limit.count() > 0 && platform::DoGuarded(work, argument, limit);
    }

    static inline constinit Clock::time_point s_deadline = {};

    const void* m_context;
};

void Walk(void* walker) {
    static_cast<CrashWalker*>(walker)->Run();
}

void Send(void*) {
    if (!s_channel.Send(&s_record, sizeof(s_record))) {
        platform::WriteToStandardError("Error writing crash data into PIPE!\n");
    }
    s_channel.Close();
}

void ReportFault(const platform::FaultRecord& fault) {
    FillRecord(fault);
    CrashWalker walker(fault.context);
    platform::DoGuarded(Walk, &walker, WALK_TIMEOUT + UNREAD_TIMEOUT);
    platform::DoGuarded(Send, nullptr, SEND_TIMEOUT);
    platform::EndByFault(fault);
}

}  // namespace

bool CrashHandler::Initialize(int argc, char** argv, CrashCallback callback) {
    if (argc <= 0 || argv == nullptr || argv[0] == nullptr) {
        return false;
    }
    if (s_channel.IsOpen()) {
        Log(s_log, 3,
            "[CrashHandler::Initialize] crash handling seems to be initialized (keeping current "
            "state).");
        return true;
    }
    const char* const program = platform::FileOfPath(argv[0]);
    const std::string variable = VariableFor(program);
    std::string pipeName;
    if (platform::TakeVariable(variable, pipeName)) {
        crashd_main(pipeName.c_str(), std::move(callback));
    }
    EndLostHelper();
    if (variable.find('=') != std::string::npos) {
        Log(s_log, 2, "[CrashHandler::Initialize] The program name '", program,
            "' can't be part of an environment variable's name.");
        return false;
    }
    platform::HelperProcess daemon;
    if (!CreateChannel(program) || !StartDaemon(variable, argv, daemon)) {
        return false;
    }
    ProtectThisThread();
    // A walk's resources are allocated now, while there is memory.
    StackWalker().LoadModules();
    PrepareRecord(program);
    platform::CatchFaults(CrashHandlerCustomExceptionFilter);
    return Connect(daemon);
}

void CrashHandler::ProtectThisThread() noexcept {
    platform::InstallFaultStack();
}

long ZEL_SYSTEM_CALL CrashHandlerCustomExceptionFilter(ExceptionPointers* pointers) {
    if (pointers == nullptr) {
        return 0;
    }
    platform::HandleFault(*pointers, ReportFault);
}

}  // namespace zel
