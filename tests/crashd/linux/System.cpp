#include "tests/crashd/System.h"

#include "tests/support/ChildProcess.h"

#include <algorithm>
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
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#if !defined(ZEL_SANITIZED)

// The program's allocator, which reports calls on a stack for faults.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
    stack_t stack = {};
    if (sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_ONSTACK) != 0) {
        static_cast<void>(write(STDERR_FILENO, "allocation\n", 11));
    }
    return __libc_malloc(size);
}

#endif

namespace zel::crashtest {

ZEL_UNCHECKED void SmashStack() {
#if defined(__x86_64__)
    asm volatile("mov $64, %rsp; mov $64, %rbp");
#endif
    WriteToNowhere();
}

namespace {

volatile int s_something = 0;

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
    std::sscanf(GetDeath().c_str(), "signal:%d:%d", &info.si_signo, &info.si_code);
    syscall(SYS_rt_tgsigqueueinfo, getpid(), getpid(), info.si_signo, &info);
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

void ReuseDescriptors() {
    close_range(3, ~0U, 0);
    while (open("left_data", O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR) < 20) {
    }
}

void Daemonise() {
    if (fork() != 0) {
        _exit(0);
    }
    Print(InitializeAgain() ? "set up again" : "");
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

long CountDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

long s_descriptors = 0;

void CheckDescriptors() {
    Print(CountDescriptors() == s_descriptors + 1 ? "" : "descriptors are left open");
}

}  // namespace

const Works SYSTEM_WORKS = {
    {"always", [] { s_descriptors = CountDescriptors(); }},
    {"late always", CheckDescriptors},
    {"callback", [] { kill(getpid(), SIGTERM); }},
    {"cut", []() ZEL_UNCHECKED { s_something = *static_cast<volatile char*>(MapEmptyFile()); }},
    {"heap", DestroyHeap},
    {"smashed", SmashStack},
    {"signal", Signal},
    {"kill", [] { std::raise(SIGKILL); }},
    {"exec", [] { execl("/bin/true", "true", nullptr); }},
    {"left worker", LeaveWorkerBehind},
    {"fork", CrashInFork},
    {"children", [] { _exit(wait(nullptr) < 0 ? 0 : 1); }},
    {"unprotected", DieOnUnprotectedThread},
    {"unreadable plugin", DieInUnreadablePlugin},
    {"signal wait", DieBesideSignalWait},
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
    {"no streams", [] { close_range(STDIN_FILENO, STDERR_FILENO, 0); }},
    {"late no descriptors", [] { Limit(RLIMIT_NOFILE); }},
    {"late no memory", [] { Limit(RLIMIT_AS); }},
};

const char* const SOURCE_FILE = "/src/a b/Main.cpp";

int (*OpenPlugin(const std::string& file))(Work die) {
    void* const plugin = dlopen(file.c_str(), RTLD_NOW);
    return reinterpret_cast<int (*)(Work)>(dlsym(plugin, "CallFromPlugin"));
}

int GetOwnNumber() {
    return getpid();
}

void WaitForOrphans() {
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
}

void PrepareTests() {
    // The sanitizers' own handlers would end a victim in their way, instead of by its signal.
    for (const char* const variable : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        const char* const before = std::getenv(variable);
        const std::string kept = before == nullptr ? "" : std::string(before) + ':';
        const char* const ours =
            "handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigill=0:"
            "handle_sigfpe=0:handle_sigtrap=0:detect_leaks=0";
        setenv(variable, (kept + ours).c_str(), 1);
    }
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    // The daemons become children of this process after their programs have ended.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

}  // namespace zel::crashtest
