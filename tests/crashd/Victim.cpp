#include "tests/crashd/Victim.h"

#include "zel/core/Thread.h"
#include "zel/crashd/CrashHandler.h"

#include "tests/support/RecordingLogSink.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <pthread.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Calls itself; the short name leaves room for many lines in a record.
extern "C" ZEL_EXPORTED void f(int depth) {
    if (depth > 0) {
        f(depth - 1);
    }
    zel::crashtest::WriteToNowhere();
}

namespace zel::crashtest {

// The compiler knows no value of these.
volatile std::uintptr_t s_nowhere = 0;
volatile int s_zero = 0;
volatile int s_something = 0;

ZEL_EXPORTED ZEL_UNCHECKED void WriteToNowhere() {
    *reinterpret_cast<volatile int*>(s_nowhere) = 1;
}

ZEL_EXPORTED ZEL_UNCHECKED void Recurse() {
    volatile char frame[3000] = {};
    if (s_zero == 0) {
        Recurse();
    }
    s_something = frame[0];
}

ZEL_EXPORTED ZEL_UNCHECKED void SmashStack() {
#if defined(__x86_64__)
    asm volatile("mov $64, %rsp; mov $64, %rbp");
#endif
    *reinterpret_cast<volatile int*>(s_nowhere) = 1;
}

namespace {

int s_argc = 0;
char** s_argv = nullptr;
std::string s_death;

void* MapEmptyFile() {
    return mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(std::tmpfile()), 0);
}

// The allocator detects that the memory after its last block is overwritten, and holds its own lock
// then, because there has been a second thread.
ZEL_UNCHECKED void DestroyHeap() {
    constexpr std::size_t size = 100'000;
    std::thread([] {}).join();
    char* volatile block = static_cast<char*>(std::malloc(size));
    std::memset(block + size, 'x', 64);
    block = static_cast<char*>(std::malloc(size));
}

// "signal:NUMBER:KIND" is a fault as the kernel reports it.
void Signal() {
    siginfo_t info = {};
    std::sscanf(s_death.c_str(), "signal:%d:%d", &info.si_signo, &info.si_code);
    syscall(SYS_rt_tgsigqueueinfo, getpid(), getpid(), info.si_signo, &info);
}

// "threads:COUNT" die at the same time.
void DieOnThreads() {
    std::atomic<int> missing{GetDeathCount()};
    std::vector<std::thread> threads;
    for (int i = GetDeathCount(); i > 0; --i) {
        threads.emplace_back([&missing] {
            for (--missing; missing > 0;) {
                std::this_thread::yield();
            }
            WriteToNowhere();
        });
    }
    threads[0].join();
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
    std::signal(WTERMSIG(status), SIG_DFL);
    std::raise(WTERMSIG(status));
}

void ReportReadyAndWait() {
    std::puts("ready");
    std::fflush(stdout);
    std::getchar();
}

struct DyingThread : Thread {
    void Run() override { DieAsRequested(); }
};

void DieOnThread() {
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

void DieOnSmallStack() {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 16 * 1024);
    pthread_t thread{};
    const auto die = [](void*) -> void* {
        WriteToNowhere();
        return nullptr;
    };
    pthread_create(&thread, &attributes, die, nullptr);
    pthread_join(thread, nullptr);
}

struct DyingAtExit {
    ~DyingAtExit() noexcept(false) { DieAsRequested(); }
};

void DieInDestructor() {
    static const DyingAtExit s_dying;
}

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
    {"deep", [] { f(GetDeathCount()); }},
    {"quick", [] { _exit(0); }},
    {"kill", [] { std::raise(SIGKILL); }},
    {"exec", [] { execl("/bin/true", "true", nullptr); }},
    {"wait", ReportReadyAndWait},
    {"worker", LeaveWorkerBehind},
    {"fork", CrashInFork},
    {"children", [] { _exit(wait(nullptr) < 0 ? 0 : 1); }},
    // Places.
    {"main", DieAsRequested},
    {"thread", DieOnThread},
    {"native thread", DieOnNativeThread},
    {"unprotected", DieOnUnprotectedThread},
    {"small stack", DieOnSmallStack},
    {"plugin", [] { DieInPlugin(ZEL_CRASH_PLUGIN, DieAsRequested); }},
    {"destructor", DieInDestructor},
};

void Do(const std::map<std::string, Work>& works, const std::string& name) {
    if (const auto found = works.find(name); found != works.end()) {
        found->second();
    }
}

std::ptrdiff_t CountDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

void SetUp(const std::string& shape) {
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("CrashHandler", 4);
    const auto before = CountDescriptors();
    std::string name = shape == "own number" ? std::to_string(getpid()) : std::string(300, 'n');
    s_argv[0] = shape == "long name" || shape == "own number" ? name.data() : s_argv[0];
    bool isSetUp = Initialize(MakeCallback(shape));
    if (shape == "twice") {
        isSetUp = Initialize(nullptr);
    }
    const bool isOneMore = CountDescriptors() == before + 1;
    std::puts((log.sink->TakeText() + (isSetUp ? "\nset up" : "\nnot set up")).c_str());
    std::puts(isOneMore || shape == "no streams" ? "" : "descriptors are left open");
    std::fflush(stdout);
}

}  // namespace

void DieAsRequested() {
    Do(s_works, s_death.substr(0, s_death.find(':')));
}

void DieInPlugin(const std::string& file, Work die) {
    void* const plugin = dlopen(file.c_str(), RTLD_NOW);
    const auto call = reinterpret_cast<int (*)(Work)>(dlsym(plugin, "CallFromPlugin"));
    s_something = call(die);
}

int GetDeathCount() {
    return std::stoi(s_death.substr(s_death.find(':') + 1));
}

bool Initialize(CrashCallback callback) {
    return CrashHandler::Initialize(s_argc, s_argv, std::move(callback));
}

int RunVictim(int argc, char** argv) {
    s_argc = argc;
    s_argv = argv;
    s_death = argv[2];
    const std::string shape = argv[4];
    Do(GetShapes(), shape);
    SetUp(shape);
    Do(GetShapes(), "late " + shape);
    Do(s_works, argv[3]);
    Do(GetShapes(), argv[3]);
    Do(GetShapes(), "end " + shape);
    return 0;
}

}  // namespace zel::crashtest

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
