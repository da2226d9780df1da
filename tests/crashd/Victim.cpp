#include "tests/crashd/Victim.h"

#include "zel/core/Thread.h"
#include "zel/crashd/CrashHandler.h"

#include "tests/crashd/System.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/SmallStackThread.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace zel::crashtest {

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
    volatile char frame[300] = {};
    if (s_zero == 0) {
        Recurse();
    }
    s_something = frame[0];
}

// Calls `die` in a library that is opened for this.
void DieInPlugin(const std::string& file, Work die) {
    s_something = OpenPlugin(file)(die);
}

namespace {

void Do(const std::string& name);

int s_argc = 0;
char** s_argv = nullptr;
std::string s_death;
int s_deathCount = 0;  // after the colon of the death's name

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

void DieInDestructor() {
    static const struct DyingAtExit {
        ~DyingAtExit() noexcept(false) { DieAsRequested(); }
    } s_dying;
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

// Neither the signal nor the program's lock keeps the daemon from the report.
struct Reporter : RCObject {
    ZelVoidT Report(const zel_crash_msg_s* record) const {
        Do("callback");
        const std::lock_guard<std::mutex> lock(s_workerLock);
        std::fprintf(stderr, "callback: %s died by signal %d\n", record->prog_name,
                     record->exception_flags);
        return {};
    }
};

struct DerivedReporter : Reporter {};

// The deaths, their places, and what programs do before Initialize, after it ("late"), and at the
// end of main ("end"). In the helper process only the first happens.
const Works s_works = {
    {"null", WriteToNowhere},
    {"abort", [] { std::abort(); }},
    {"overflow", Recurse},
    {"throw", [] { throw std::runtime_error("nobody catches this"); }},
    {"division", []() ZEL_UNCHECKED { s_something = 100 / s_zero; }},
    {"jump", []() ZEL_UNCHECKED { reinterpret_cast<Work>(s_nowhere + 4096)(); }},
    {"threads", DieOnThreads},
    {"deep", [] { f(s_deathCount); }},
    {"wait", [] { std::getchar(); }},
    {"die later", [] { std::getchar(), WriteToNowhere(); }},
    // Places.
    {"main", DieAsRequested},
    {"thread", DieOnThread},
    {"native thread", DieOnNativeThread},
    {"small stack", [] { test::RunOnSmallStack(WriteToNowhere, 16 * 1024); }},
    {"plugin", [] { DieInPlugin(ZEL_CRASH_PLUGIN, DieAsRequested); }},
    {"destructor", DieInDestructor},
    // Shapes.
    {"worker", StartWorker},
    {"end worker", [] { s_isMainOver = true; }},
    {"late own number", [] { std::fputs("running\n", stderr); }},
};

void Do(const std::string& name) {
    for (const Works* const works : {&s_works, &SYSTEM_WORKS}) {
        if (const auto found = works->find(name); found != works->end()) {
            found->second();
        }
    }
}

// Some shapes need a name that no test has which runs at the same time.
std::string NameFor(const std::string& shape) {
    return shape == "long name"           ? std::string(200, 'n')
           : shape == "own number"        ? std::to_string(GetOwnNumber())
           : shape.starts_with("alone, ") ? "alone"
                                          : s_argv[0];
}

void SetUp(const std::string& shape) {
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("CrashHandler", 4);
    static std::string s_name = NameFor(shape);
    s_argv[0] = s_name.data();
    const RCPtr<DerivedReporter> reporter(new DerivedReporter);
    const CrashCallback callback =
        shape == "worker" ? BindMemFunc(reporter, &DerivedReporter::Report) : nullptr;
    const bool isSetUp = CrashHandler::Initialize(s_argc, s_argv, callback) &&
                         (shape != "twice" || CrashHandler::Initialize(s_argc, s_argv, callback));
    Print(log.sink->TakeText() + (isSetUp ? "\nset up" : "\nnot set up"));
}

}  // namespace

void Print(const std::string& line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

const std::string& GetDeath() {
    return s_death;
}

bool InitializeAgain() {
    return CrashHandler::Initialize(s_argc, s_argv, nullptr);
}

void DieAsRequested() {
    const std::string death = s_death.substr(0, s_death.find(':'));
    Do("before death");
    Do(death);
}

int RunVictim(int argc, char** argv) {
    s_argc = argc;
    s_argv = argv;
    s_death = argv[2];
    std::sscanf(argv[2], "%*[^:]:%d", &s_deathCount);
    const std::string shape = argv[4];
    Do("always");
    Do(shape);
    SetUp(shape);
    Do("late always");
    Do("late " + shape);
    Do(argv[3]);
    Do("end " + shape);
    return 0;
}

}  // namespace zel::crashtest
