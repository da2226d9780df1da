#include "tests/crashd/Victim.h"

#include "zel/core/Logger.h"
#include "zel/core/Thread.h"
#include "zel/crashd/CrashHandler.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Where only exported names can be looked up, these must be among them; and no sanitizer may be
// quicker than the fault.
#if defined(__clang__)
#define ZEL_DEATH __attribute__((noinline, visibility("default"), no_sanitize("undefined")))
#else
#define ZEL_DEATH                                                             \
    __attribute__((noinline, visibility("default"), no_sanitize("undefined"), \
                   no_sanitize("address"), no_sanitize("thread")))
#endif

namespace zel::crashtest {

thread_local bool t_isAllocationFault = false;

namespace {

// No value of these is known when the program is compiled.
volatile std::uintptr_t s_nowhere = 0;
volatile int s_zero = 0;
volatile int s_something = 0;

int* Nowhere() {
    return reinterpret_cast<int*>(s_nowhere);
}

}  // namespace

ZEL_DEATH void DieByNull() {
    t_isAllocationFault = true;
    *static_cast<volatile int*>(Nowhere()) = 1;
    s_something = 1;
}

ZEL_DEATH void DieByAbort() {
    t_isAllocationFault = true;
    std::abort();
}

ZEL_DEATH int Recurse(int depth) {
    volatile char frame[3000] = {};
    frame[depth % 3000] = 1;
    return depth < 0 ? 0 : Recurse(depth + 1) + frame[0];
}

ZEL_DEATH void DieByOverflow() {
    t_isAllocationFault = true;
    s_something = Recurse(0);
}

ZEL_DEATH void DieByThrow() {
    throw std::runtime_error("nobody catches this");
}

ZEL_DEATH void DieByDivision() {
    t_isAllocationFault = true;
    s_something = 100 / s_zero;
}

ZEL_DEATH void DieByJump() {
    t_isAllocationFault = true;
    reinterpret_cast<void (*)()>(s_nowhere + 4096)();
    s_something = 1;
}

ZEL_DEATH void DieByCutMapping() {
    std::FILE* const file = std::tmpfile();
    void* const memory = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0);
    t_isAllocationFault = true;
    s_something = *static_cast<volatile char*>(memory);
}

class Unfinished {
public:
    Unfinished() { Call(); }
    virtual ~Unfinished() = default;
    virtual void Missing() = 0;

private:
    void Call() { Missing(); }
};

class Finished : public Unfinished {
    void Missing() override {}
};

ZEL_DEATH void DieByPureCall() {
    const Finished finished;
    s_something = 1;
}

// The allocator finds out that what lies behind its last block is destroyed, with its own lock held
// as there has been a second thread.
ZEL_DEATH void DieByHeap() {
    constexpr std::size_t size = 100'000;
    std::thread([] {}).join();
    char* volatile block = static_cast<char*>(std::malloc(size));
    std::memset(block + size, 'x', 64);
    block = static_cast<char*>(std::malloc(size));
}

#if defined(__x86_64__)
ZEL_DEATH void DieOnSmashedStack() {
    t_isAllocationFault = true;
    asm volatile("mov $64, %rsp; mov $64, %rbp; movl $1, 0");
}
#else
ZEL_DEATH void DieOnSmashedStack() {
    DieByNull();
}
#endif

namespace {

using Death = void (*)();

const std::map<std::string, Death> s_deaths = {
    {"null", DieByNull},         {"abort", DieByAbort},
    {"overflow", DieByOverflow}, {"throw", DieByThrow},
    {"divide", DieByDivision},   {"jump", DieByJump},
    {"bus", DieByCutMapping},    {"pure", DieByPureCall},
    {"heap", DieByHeap},         {"smashed", DieOnSmashedStack},
};

// "signal:NUMBER:KIND" is a fault as the kernel would tell it.
[[noreturn]] void DieBySignal(const std::string& description) {
    siginfo_t info = {};
    std::sscanf(description.c_str(), "signal:%d:%d", &info.si_signo, &info.si_code);
    syscall(SYS_rt_tgsigqueueinfo, getpid(), getpid(), info.si_signo, &info);
    std::abort();
}

// "threads:COUNT" die all at once.
void DieOnThreads(const std::string& description) {
    const int count = std::stoi(description.substr(description.find(':') + 1));
    std::atomic<int> missing{count};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&missing] {
            for (--missing; missing > 0;) {
                std::this_thread::yield();
            }
            DieByNull();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void TellReadyAndWait() {
    std::puts("ready");
    std::fflush(stdout);
    std::getchar();
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
    if (const pid_t child = fork(); child != 0) {
        waitpid(child, &status, 0);
        std::signal(WTERMSIG(status), SIG_DFL);
        std::raise(WTERMSIG(status));
    }
    DieByNull();
}

void WaitForChildren() {
    _exit(wait(nullptr) < 0 ? 0 : 1);
}

void BecomeAnotherProgram() {
    execl("/bin/true", "true", nullptr);
}

const std::map<std::string, Death> s_ends = {
    {"return", [] {}},
    {"quick", [] { _exit(0); }},
    {"exec", BecomeAnotherProgram},
    {"wait", TellReadyAndWait},
    {"worker", LeaveWorkerBehind},
    {"fork", CrashInFork},
    {"children", WaitForChildren},
};

// ---- places ------------------------------------------------------------------------------------

class DyingThread : public Thread {
public:
    explicit DyingThread(Death die) : m_die(die) {}
    void Run() override { m_die(); }

private:
    const Death m_die;
};

void DieOnOurThread(Death die) {
    const RCPtr<DyingThread> thread(new DyingThread(die));
    thread->Start();
    thread->Join();
}

void DieOnForeignThread(Death die) {
    std::thread([die] {
        CrashHandler::ProtectThisThread();
        die();
    }).join();
}

// The first thread is gone by then, and with it what the kernel tells of the process by that.
void DieOnUnprotectedThread(Death die) {
    std::thread([die, first = pthread_self()] {
        pthread_join(first, nullptr);
        die();
    }).detach();
    pthread_exit(nullptr);
}

void DieInPlugin(Death die) {
    void* const plugin = dlopen(ZEL_CRASH_PLUGIN, RTLD_NOW);
    const auto call = reinterpret_cast<int (*)(Death)>(dlsym(plugin, "CallFromPlugin"));
    s_something = call(die);
}

Death s_lastDeath = nullptr;

struct DyingAtExit {
    ~DyingAtExit() noexcept(false) {
        if (s_lastDeath != nullptr) {
            s_lastDeath();
        }
    }
};

const DyingAtExit s_dyingAtExit;

const std::map<std::string, void (*)(Death)> s_places = {
    {"main", [](Death die) { die(); }},
    {"thread", DieOnOurThread},
    {"foreign", DieOnForeignThread},
    {"unprotected", DieOnUnprotectedThread},
    {"plugin", DieInPlugin},
    {"destructor", [](Death die) { s_lastDeath = die; }},
};

// ---- troubles ----------------------------------------------------------------------------------

void Limit(__rlimit_resource resource, rlim_t value) {
    const rlimit limit = {value, value};
    setrlimit(resource, &limit);
}

void TellSignal(int) {
    static_cast<void>(write(STDOUT_FILENO, "before\n", 7));
}

// Ahead of Initialize, in the copy as well.
void MakeTrouble(const std::string& trouble) {
    if (trouble == "handler before") {
        std::signal(SIGSEGV, TellSignal);
    } else if (trouble == "no streams") {
        close(0), close(1), close(2);
    } else if (trouble == "copy ends" &&
               std::getenv("crashd_tests_SHOULD_START_DAEMON_") != nullptr) {
        _exit(0);
    }
}

void MakeLateTrouble(const std::string& trouble) {
    if (trouble == "no descriptors") {
        Limit(RLIMIT_NOFILE, 0);
    } else if (trouble == "no memory") {
        Limit(RLIMIT_AS, 1);
    }
}

class PrintingLogSink : public LogSink {
    void Write(const LogRecord& record) override {
        std::printf("%d %s\n", record.level, std::string(record.text).c_str());
    }
};

void LogToOutput() {
    const RCPtr<Logger> logger(new Logger);
    logger->AddSink(new PrintingLogSink);
    logger->SetAreaLevel("CrashHandler", 4);
    logger->Start();
    Logger::SetInstance(logger);
}

struct Teller : RCObject {
    ZelVoidT Tell(const zel_crash_msg_s* record) const {
        std::fprintf(stderr, "callback: %s died by signal %d\n", record->prog_name,
                     record->exception_flags);
        return {};
    }
};

struct DerivedTeller : Teller {};

bool SetUp(int argc, char** argv, const std::string& trouble) {
    CrashCallback callback;
    if (trouble == "callback") {
        callback = BindMemFunc(RCPtr<DerivedTeller>(new DerivedTeller), &DerivedTeller::Tell);
    }
    std::string name(300, 'n');
    if (trouble == "long name") {
        argv[0] = name.data();
    }
    const bool isSetUp = CrashHandler::Initialize(argc, argv, callback);
    return trouble == "twice" ? CrashHandler::Initialize(argc, argv, nullptr) : isSetUp;
}

}  // namespace

int RunVictim(int argc, char** argv) {
    const std::string death = argv[2];
    const std::string trouble = argv[4];
    LogToOutput();
    MakeTrouble(trouble);
    std::puts(SetUp(argc, argv, trouble) ? "set up" : "not set up");
    std::fflush(stdout);
    MakeLateTrouble(trouble);
    if (death.starts_with("signal:")) {
        DieBySignal(death);
    } else if (death.starts_with("threads:")) {
        DieOnThreads(death);
    } else {
        s_places.at(argv[3])(s_deaths.contains(death) ? s_deaths.at(death) : s_ends.at(death));
    }
    return 0;
}

}  // namespace zel::crashtest

#if !defined(ZEL_SANITIZED)

// The program's allocator, which tells when it is asked behind a fault.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

static void TellAllocation() {
    if (zel::crashtest::t_isAllocationFault) {
        static_cast<void>(write(STDERR_FILENO, "allocation\n", 11));
    }
}

void* malloc(std::size_t size) {
    TellAllocation();
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    TellAllocation();
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    TellAllocation();
    return __libc_realloc(block, size);
}
}

#endif
