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
#include <map>
#include <pthread.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// No sanitizer may be quicker than the fault.
#define ZEL_UNCHECKED __attribute__((no_sanitize("undefined", "address", "thread")))
// Where only exported names can be looked up, these must be among them.
#define ZEL_EXPORTED __attribute__((visibility("default")))

namespace zel::crashtest {

ZEL_EXPORTED void DieAsTold();

// No value of these is known when the program is compiled.
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

using Work = void (*)();

std::string s_death;

void* MapEmptyFile() {
    return mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(std::tmpfile()), 0);
}

struct Unfinished {
    Unfinished() { Call(); }
    virtual ~Unfinished() = default;
    virtual void Missing() = 0;
    void Call() { Missing(); }
};

struct Finished : Unfinished {
    void Missing() override {}
};

// The allocator finds out that what lies behind its last block is destroyed, with its own lock held
// as there has been a second thread.
ZEL_UNCHECKED void DestroyHeap() {
    constexpr std::size_t size = 100'000;
    std::thread([] {}).join();
    char* volatile block = static_cast<char*>(std::malloc(size));
    std::memset(block + size, 'x', 64);
    block = static_cast<char*>(std::malloc(size));
}

// "signal:NUMBER:KIND" is a fault as the kernel would tell it.
void Signal() {
    siginfo_t info = {};
    std::sscanf(s_death.c_str(), "signal:%d:%d", &info.si_signo, &info.si_code);
    syscall(SYS_rt_tgsigqueueinfo, getpid(), getpid(), info.si_signo, &info);
}

// "threads:COUNT" die all at once.
void DieOnThreads() {
    const int count = std::stoi(s_death.substr(s_death.find(':') + 1));
    std::atomic<int> missing{count};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
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

// Dies as its fork has died.
void CrashInFork() {
    int status = 0;
    if (fork() == 0) {
        WriteToNowhere();
    }
    wait(&status);
    std::signal(WTERMSIG(status), SIG_DFL);
    std::raise(WTERMSIG(status));
}

void TellReadyAndWait() {
    std::puts("ready");
    std::fflush(stdout);
    std::getchar();
}

struct DyingThread : Thread {
    void Run() override { DieAsTold(); }
};

void DieOnOurThread() {
    const RCPtr<DyingThread> thread(new DyingThread);
    thread->Start();
    thread->Join();
}

void DieOnForeignThread() {
    std::thread([] {
        CrashHandler::ProtectThisThread();
        DieAsTold();
    }).join();
}

// The first thread is gone by then, and with it what the kernel tells of the process by that.
void DieOnUnprotectedThread() {
    std::thread([] {
        while (access("/proc/self/exe", F_OK) == 0) {
            std::this_thread::yield();
        }
        DieAsTold();
    }).detach();
    pthread_exit(nullptr);
}

void DieInPlugin() {
    void* const plugin = dlopen(ZEL_CRASH_PLUGIN, RTLD_NOW);
    const auto call = reinterpret_cast<int (*)(Work)>(dlsym(plugin, "CallFromPlugin"));
    s_something = call(DieAsTold);
}

struct DyingAtExit {
    ~DyingAtExit() noexcept(false) { DieAsTold(); }
};

void DieInDestructor() {
    static const DyingAtExit s_dying;
}

void TellSignal(int) {
    static_cast<void>(write(STDOUT_FILENO, "before\n", 7));
}

void EndCopy() {
    if (std::getenv("crashd_tests_SHOULD_START_DAEMON_") != nullptr) {
        _exit(0);
    }
}

void Limit(__rlimit_resource resource) {
    const rlimit none = {0, 0};
    setrlimit(resource, &none);
}

std::map<std::string, Work> s_works = {
    // Ways to die.
    {"null", WriteToNowhere},
    {"abort", [] { std::abort(); }},
    {"overflow", Recurse},
    {"throw", [] { throw std::runtime_error("nobody catches this"); }},
    {"division", []() ZEL_UNCHECKED { s_something = 100 / s_zero; }},
    {"jump", []() ZEL_UNCHECKED { reinterpret_cast<Work>(s_nowhere + 4096)(); }},
    {"cut", []() ZEL_UNCHECKED { s_something = *static_cast<volatile char*>(MapEmptyFile()); }},
    {"pure", [] { const Finished finished; }},
    {"heap", DestroyHeap},
    {"smashed", SmashStack},
    {"signal", Signal},
    {"threads", DieOnThreads},
    {"quick", [] { _exit(0); }},
    {"kill", [] { std::raise(SIGKILL); }},
    {"exec", [] { execl("/bin/true", "true", nullptr); }},
    {"wait", TellReadyAndWait},
    {"worker", LeaveWorkerBehind},
    {"fork", CrashInFork},
    {"children", [] { _exit(wait(nullptr) < 0 ? 0 : 1); }},
    // Places.
    {"main", DieAsTold},
    {"thread", DieOnOurThread},
    {"foreign", DieOnForeignThread},
    {"unprotected", DieOnUnprotectedThread},
    {"plugin", DieInPlugin},
    {"destructor", DieInDestructor},
    // Troubles ahead of Initialize, in the copy as well, and behind it.
    {"handler before", [] { std::signal(SIGSEGV, TellSignal); }},
    {"no streams", [] { close_range(STDIN_FILENO, STDERR_FILENO, 0); }},
    {"copy ends", EndCopy},
    {"late no descriptors", [] { Limit(RLIMIT_NOFILE); }},
    {"late no memory", [] { Limit(RLIMIT_AS); }},
};

void Do(const std::string& name) {
    if (const Work work = s_works[name]) {
        work();
    }
}

struct Teller : RCObject {
    ZelVoidT Tell(const zel_crash_msg_s* record) const {
        std::fprintf(stderr, "callback: %s died by signal %d\n", record->prog_name,
                     record->exception_flags);
        return {};
    }
};

struct DerivedTeller : Teller {};

void SetUp(int argc, char** argv, const std::string& trouble) {
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("CrashHandler", 4);
    CrashCallback callback;
    if (trouble == "callback") {
        callback = BindMemFunc(RCPtr<DerivedTeller>(new DerivedTeller), &DerivedTeller::Tell);
    }
    std::string name(300, 'n');
    argv[0] = trouble == "long name" ? name.data() : argv[0];
    bool isSetUp = CrashHandler::Initialize(argc, argv, callback);
    if (trouble == "twice") {
        isSetUp = CrashHandler::Initialize(argc, argv, nullptr);
    }
    std::puts((log.sink->TakeText() + (isSetUp ? "\nset up" : "\nnot set up")).c_str());
    std::fflush(stdout);
}

}  // namespace

void DieAsTold() {
    Do(s_death.substr(0, s_death.find(':')));
}

int RunVictim(int argc, char** argv) {
    s_death = argv[2];
    const std::string trouble = argv[4];
    Do(trouble);
    SetUp(argc, argv, trouble);
    Do("late " + trouble);
    Do(argv[3]);
    return 0;
}

}  // namespace zel::crashtest

#if !defined(ZEL_SANITIZED)

// The program's allocator, which tells when it is asked on the stack for faults.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
    stack_t stack = {};
    if (sigaltstack(nullptr, &stack) == 0 && (stack.ss_flags & SS_ONSTACK) != 0) {
        static_cast<void>(write(STDERR_FILENO, "allocation\n", 11));
    }
    return __libc_malloc(size);
}

#endif
