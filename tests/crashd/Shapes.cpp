#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/Victim.h"

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <mutex>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace zel::crashtest {

namespace {

void Print(const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

std::atomic<bool> s_isMainOver{false};
std::mutex s_workerLock;

// A worker that an exit handler joins. Only main ends it, so that the daemon's never ends.
void StartWorker() {
    static std::thread s_worker([] {
        while (!s_isMainOver) {
            const std::lock_guard<std::mutex> lock(s_workerLock);
        }
    });
    std::atexit([] { s_worker.join(); });
}

// Opening the library's file blocks.
void DieInUnreadablePlugin() {
    const std::filesystem::path file = std::filesystem::absolute("left_plugin.so");
    std::filesystem::copy_file(ZEL_CRASH_PLUGIN, file);
    DieInPlugin(file, [] {
        const std::filesystem::path opened = std::filesystem::absolute("left_plugin.so");
        std::filesystem::remove(opened);
        mkfifo(opened.c_str(), S_IRUSR | S_IWUSR);
        WriteToNowhere();
    });
}

// The main thread takes every signal that is sent to the process.
void DieBesideSignalWait() {
    std::atomic<bool> isWaiting{false};
    std::thread worker([&isWaiting] {
        while (!isWaiting) {
            std::this_thread::yield();
        }
        DieInUnreadablePlugin();
    });
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    isWaiting = true;
    for (int signal = 0;;) {
        sigwait(&all, &signal);
    }
}

void ReuseDescriptors() {
    close_range(3, ~0U, 0);
    for (int i = 0; i < 20; ++i) {
        static_cast<void>(open("left_data", O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR));
    }
}

void Daemonise() {
    if (fork() != 0) {
        _exit(0);
    }
    Print(Initialize(nullptr) ? "set up again" : "not set up again");
}

void PrintBefore(int) {
    static_cast<void>(write(STDOUT_FILENO, "before\n", 7));
}

sigjmp_buf s_probe;
volatile std::sig_atomic_t s_isProbing = 0;

void LeaveProbe(int) {
    if (s_isProbing != 0) {
        siglongjmp(s_probe, 1);
    }
}

void Probe() {
    volatile int recovered = 0;
    for (int i = 0; i < 3; ++i) {
        s_isProbing = 1;
        if (sigsetjmp(s_probe, 1) == 0) {
            WriteToNowhere();
        }
        recovered = recovered + 1;
    }
    s_isProbing = 0;
    std::printf("recovered %d times\n", recovered);
    std::fflush(stdout);
}

constexpr std::size_t PAGE = 4096;
char* s_page = nullptr;

void RepairPage(int, siginfo_t*, void*) {
    mprotect(s_page, PAGE, PROT_READ | PROT_WRITE);
}

void RepairFaults() {
    struct sigaction action = {};
    action.sa_sigaction = RepairPage;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, nullptr);
    s_page = static_cast<char*>(mmap(nullptr, PAGE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
}

void UsePage() {
    *static_cast<volatile char*>(s_page) = 1;
    Print("repaired");
}

void GiveUp(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void FilterTimers(unsigned answer) {
    constexpr unsigned call = offsetof(seccomp_data, nr);
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, call),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_timer_create, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_timer_settime, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_setitimer, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, answer),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {sizeof(code) / sizeof(code[0]), code};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

void EndHelper() {
    if (std::getenv("crashd_tests_SHOULD_START_DAEMON_") != nullptr) {
        _exit(0);
    }
}

void Limit(__rlimit_resource resource) {
    const rlimit none = {0, 0};
    setrlimit(resource, &none);
}

struct Reporter : RCObject {
    ZelVoidT Report(const zel_crash_msg_s* record) const {
        std::fprintf(stderr, "callback: %s died by signal %d\n", record->prog_name,
                     record->exception_flags);
        return {};
    }
};

struct DerivedReporter : Reporter {};

}  // namespace

const std::map<std::string, Work>& GetShapes() {
    static const std::map<std::string, Work> s_shapes = {
        {"worker", StartWorker},
        {"end worker", [] { s_isMainOver = true; }},
        {"unreadable plugin", DieInUnreadablePlugin},
        {"signal wait", DieBesideSignalWait},
        {"late reused descriptors", ReuseDescriptors},
        {"late daemonised", Daemonise},
        {"handler before", [] { std::signal(SIGSEGV, PrintBefore); }},
        {"handler gives up", [] { std::signal(SIGSEGV, GiveUp); }},
        {"handler of abort", [] { std::signal(SIGABRT, PrintBefore); }},
        {"probing", [] { std::signal(SIGSEGV, LeaveProbe); }},
        {"late probing", Probe},
        {"repairing", RepairFaults},
        {"late repairing", UsePage},
        {"ignored abort", [] { std::signal(SIGABRT, SIG_IGN); }},
        {"late ignored abort", [] { Print(std::raise(SIGABRT) == 0 ? "ignored" : ""); }},
        {"late trapped timers", [] { FilterTimers(SECCOMP_RET_TRAP); }},
        {"late refused timers", [] { FilterTimers(SECCOMP_RET_ERRNO | EPERM); }},
        {"late own number", [] { std::fputs("running\n", stderr); }},
        {"no streams", [] { close_range(STDIN_FILENO, STDERR_FILENO, 0); }},
        {"helper ends", EndHelper},
        {"late no descriptors", [] { Limit(RLIMIT_NOFILE); }},
        {"late no memory", [] { Limit(RLIMIT_AS); }},
    };
    return s_shapes;
}

CrashCallback MakeCallback(const std::string& shape) {
    const RCPtr<DerivedReporter> reporter(new DerivedReporter);
    if (shape == "callback") {
        return BindMemFunc(reporter, &DerivedReporter::Report);
    }
    if (shape != "worker" && shape != "stopped group") {
        return nullptr;
    }
    return BindCallback<ZelVoidT, const zel_crash_msg_s*>([=](const zel_crash_msg_s* record) {
        for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1}) {
            kill(getpid(), signal);
        }
        const std::lock_guard<std::mutex> lock(s_workerLock);
        reporter->Report(record);
    });
}

}  // namespace zel::crashtest
