#include "tests/crashd/Victim.h"

#include "zel/core/Thread.h"
#include "zel/crashd/CrashHandler.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/SmallStackThread.h"

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <map>
#include <mutex>
#include <pthread.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// No sanitizer may report before the fault.
#define ZEL_UNCHECKED __attribute__((no_sanitize("undefined", "address", "thread")))

namespace zel::crashtest {

using Work = void (*)();

// The compiler knows no value of these.
volatile std::uintptr_t s_nowhere = 0;
volatile int s_zero = 0;
volatile int s_something = 0;

ZEL_UNCHECKED void WriteToNowhere() {
    *reinterpret_cast<volatile int*>(s_nowhere) = 1;
}

// Calls itself; the short name leaves room for many lines in a record.
extern "C" void f(int depth) {
    if (depth > 0) {
        f(depth - 1);
    }
    WriteToNowhere();
}

ZEL_UNCHECKED void Recurse() {
    volatile char frame[3000] = {};
    if (s_zero == 0) {
        Recurse();
    }
    s_something = frame[0];
}

ZEL_UNCHECKED void SmashStack() {
#if defined(__x86_64__)
    asm volatile("mov $64, %rsp; mov $64, %rbp");
#endif
    *reinterpret_cast<volatile int*>(s_nowhere) = 1;
}

// Calls `die` in a library that is opened for this.
void DieInPlugin(const std::string& file, Work die) {
    void* const plugin = dlopen(file.c_str(), RTLD_NOW);
    const auto call = reinterpret_cast<int (*)(Work)>(dlsym(plugin, "CallFromPlugin"));
    s_something = call(die);
}

void DieAsRequested();

namespace {

int s_argc = 0;
char** s_argv = nullptr;
std::string s_death;
int s_deathCount = 0;  // after the colon of the death's name

void Print(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

void DieBy(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void* MapEmptyFile() {
    return mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(std::tmpfile()), 0);
}

// The allocator detects that the memory after its last block is overwritten, and holds its own lock
// then, because there has been a second thread.
ZEL_UNCHECKED void DestroyHeap() {
    std::thread([] {}).join();
    char* volatile block = static_cast<char*>(std::malloc(100'000));
    std::memset(block + 100'000, 'x', 64);
    block = static_cast<char*>(std::malloc(100'000));
}

// "signal:NUMBER:KIND" is a fault as the kernel reports it.
void Signal() {
    siginfo_t info = {};
    std::sscanf(s_death.c_str(), "signal:%d:%d", &info.si_signo, &info.si_code);
    syscall(SYS_rt_tgsigqueueinfo, getpid(), getpid(), info.si_signo, &info);
}

// "threads:COUNT" die at the same time.
void DieOnThreads() {
    std::atomic<int> missing{s_deathCount};
    std::vector<std::jthread> threads;
    for (int i = s_deathCount; i > 0; --i) {
        threads.emplace_back([&missing] {
            for (--missing; missing > 0;) {
                std::this_thread::yield();
            }
            WriteToNowhere();
        });
    }
}

// The channel stays open in a process that isn't the program.
void LeaveWorkerBehind() {
    if (fork() == 0) {
        close(STDERR_FILENO);
        std::getchar();
    }
    _exit(0);
}

// Dies by the signal that its child has died by.
void CrashInFork() {
    int status = 0;
    if (fork() == 0) {
        WriteToNowhere();
    }
    wait(&status);
    DieBy(WTERMSIG(status));
}

void DieOnThread() {
    struct DyingThread : Thread {
        void Run() override { DieAsRequested(); }
    };
    const RCPtr<DyingThread> thread(new DyingThread);
    thread->Start();
    thread->Join();
}

void DieOnNativeThread() {
    std::thread([] {
        CrashHandler::ProtectThisThread();
        DieAsRequested();
    }).join();
}

// The main thread has exited by then, and /proc/self/exe is unreadable.
void DieOnUnprotectedThread() {
    std::thread([] {
        while (access("/proc/self/exe", F_OK) == 0) {
            std::this_thread::yield();
        }
        DieAsRequested();
    }).detach();
    pthread_exit(nullptr);
}

void DieInDestructor() {
    static const struct DyingAtExit {
        ~DyingAtExit() noexcept(false) { DieAsRequested(); }
    } s_dying;
}

// Opening the library's file blocks.
void DieInUnreadablePlugin() {
    static const std::string s_file = std::filesystem::absolute("left_plugin.so");
    std::filesystem::copy_file(ZEL_CRASH_PLUGIN, s_file);
    DieInPlugin(s_file, [] {
        std::filesystem::remove(s_file);
        mkfifo(s_file.c_str(), S_IRUSR | S_IWUSR);
        WriteToNowhere();
    });
}

// The main thread takes every signal that is sent to the process.
void DieBesideSignalWait() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    std::thread([all] {
        pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
        DieInUnreadablePlugin();
    }).detach();
    for (int signal = 0;;) {
        sigwait(&all, &signal);
    }
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

void ReuseDescriptors() {
    close_range(3, ~0U, 0);
    while (open("left_data", O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR) < 20) {
    }
}

void Daemonise() {
    if (fork() != 0) {
        _exit(0);
    }
    Print(CrashHandler::Initialize(s_argc, s_argv, nullptr) ? "set up again" : "");
}

void PrintBefore(int) {
    static_cast<void>(write(STDOUT_FILENO, "before\n", 7));
}

sigjmp_buf s_probe;
std::atomic<int> s_remainingProbes{0};
alignas(4096) volatile char s_page[4096] = {};

void Recover(int) {
    if (s_remainingProbes > 0) {
        siglongjmp(s_probe, 1);
    }
    mprotect(const_cast<char*>(s_page), sizeof(s_page), PROT_READ | PROT_WRITE);
}

void StartRecovering() {
    std::signal(SIGSEGV, Recover);
    mprotect(const_cast<char*>(s_page), sizeof(s_page), PROT_NONE);
}

// The handler leaves the probes by a jump and makes the page writable.
void ProbeAndUsePage() {
    for (s_remainingProbes = 3; s_remainingProbes > 0; --s_remainingProbes) {
        if (sigsetjmp(s_probe, 1) == 0) {
            WriteToNowhere();
        }
    }
    s_page[0] = 1;
    Print("recovered");
}

void FilterTimers(unsigned answer) {
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_timer_create, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, answer),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {static_cast<unsigned short>(std::size(code)), code};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

void Limit(__rlimit_resource resource) {
    const rlimit none = {0, 0};
    setrlimit(resource, &none);
}

// Neither the signal nor the program's lock keeps the daemon from the report.
struct Reporter : RCObject {
    ZelVoidT Report(const zel_crash_msg_s* record) const {
        kill(getpid(), SIGTERM);
        const std::lock_guard<std::mutex> lock(s_workerLock);
        std::fprintf(stderr, "callback: %s died by signal %d\n", record->prog_name,
                     record->exception_flags);
        return {};
    }
};

struct DerivedReporter : Reporter {};

// The deaths, their places, and what programs do before Initialize, after it ("late"), and at the
// end of main ("end"). In the helper process only the first happens.
const std::map<std::string, Work> s_works = {
    {"null", WriteToNowhere},
    {"abort", [] { std::abort(); }},
    {"overflow", Recurse},
    {"throw", [] { throw std::runtime_error("nobody catches this"); }},
    {"division", []() ZEL_UNCHECKED { s_something = 100 / s_zero; }},
    {"jump", []() ZEL_UNCHECKED { reinterpret_cast<Work>(s_nowhere + 4096)(); }},
    {"cut", []() ZEL_UNCHECKED { s_something = *static_cast<volatile char*>(MapEmptyFile()); }},
    {"heap", DestroyHeap},
    {"smashed", SmashStack},
    {"signal", Signal},
    {"threads", DieOnThreads},
    {"deep", [] { f(s_deathCount); }},
    {"kill", [] { std::raise(SIGKILL); }},
    {"exec", [] { execl("/bin/true", "true", nullptr); }},
    {"wait", [] { std::getchar(); }},
    {"left worker", LeaveWorkerBehind},
    {"fork", CrashInFork},
    {"children", [] { _exit(wait(nullptr) < 0 ? 0 : 1); }},
    // Places.
    {"main", DieAsRequested},
    {"thread", DieOnThread},
    {"native thread", DieOnNativeThread},
    {"unprotected", DieOnUnprotectedThread},
    {"small stack", [] { test::RunOnSmallStack(WriteToNowhere, 16 * 1024); }},
    {"unreadable plugin", DieInUnreadablePlugin},
    {"signal wait", DieBesideSignalWait},
    {"plugin", [] { DieInPlugin(ZEL_CRASH_PLUGIN, DieAsRequested); }},
    {"destructor", DieInDestructor},
    // Shapes.
    {"worker", StartWorker},
    {"end worker", [] { s_isMainOver = true; }},
    {"late reused descriptors", ReuseDescriptors},
    {"late daemonised", Daemonise},
    {"handler before", [] { std::signal(SIGSEGV, PrintBefore); }},
    {"handler gives up", [] { std::signal(SIGSEGV, DieBy); }},
    {"handler of abort", [] { std::signal(SIGABRT, PrintBefore); }},
    {"recovering", StartRecovering},
    {"late recovering", ProbeAndUsePage},
    {"ignored abort", [] { std::signal(SIGABRT, SIG_IGN); }},
    {"late ignored abort", [] { Print(std::raise(SIGABRT) == 0 ? "ignored" : ""); }},
    {"late trapped timers", [] { FilterTimers(SECCOMP_RET_TRAP); }},
    {"late refused timers", [] { FilterTimers(SECCOMP_RET_ERRNO | EPERM); }},
    {"late own number", [] { std::fputs("running\n", stderr); }},
    {"no streams", [] { close_range(STDIN_FILENO, STDERR_FILENO, 0); }},
    {"late no descriptors", [] { Limit(RLIMIT_NOFILE); }},
    {"late no memory", [] { Limit(RLIMIT_AS); }},
};

void Do(const std::string& name) {
    if (const auto found = s_works.find(name); found != s_works.end()) {
        found->second();
    }
}

void SetUp(const std::string& shape) {
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("CrashHandler", 4);
    const auto countDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = countDescriptors();
    std::string name = shape == "own number" ? std::to_string(getpid()) : std::string(300, 'n');
    s_argv[0] = shape == "long name" || shape == "own number" ? name.data() : s_argv[0];
    const RCPtr<DerivedReporter> reporter(new DerivedReporter);
    const CrashCallback callback =
        shape == "worker" ? BindMemFunc(reporter, &DerivedReporter::Report) : nullptr;
    const bool isSetUp = CrashHandler::Initialize(s_argc, s_argv, callback) &&
                         (shape != "twice" || CrashHandler::Initialize(s_argc, s_argv, callback));
    const bool isOneMore = countDescriptors() == before + 1;
    Print(log.sink->TakeText() + (isSetUp ? "\nset up" : "\nnot set up"));
    Print(isOneMore || shape == "no streams" ? "" : "descriptors are left open");
}

}  // namespace

void DieAsRequested() {
    Do(s_death.substr(0, s_death.find(':')));
}

int RunVictim(int argc, char** argv) {
    s_argc = argc;
    s_argv = argv;
    s_death = argv[2];
    std::sscanf(argv[2], "%*[^:]:%d", &s_deathCount);
    const std::string shape = argv[4];
    Do(shape);
    SetUp(shape);
    Do("late " + shape);
    Do(argv[3]);
    Do("end " + shape);
    return 0;
}

}  // namespace zel::crashtest
