// Crashes in a selectable way to show its crash report.

#include "zel/core/Thread.h"
#include "zel/crashd/CrashHandler.h"

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view USAGE = R"(usage: crash_report [KIND]

Crashes, with a crash report on standard error. KIND is one of
  null      a write through a null pointer (the default)
  abort     a call of abort
  overflow  an endless recursion
  divide    a division by zero
  throw     an uncaught exception
  thread    a write through a null pointer on another thread
  pure      a call of a pure virtual function
)";

// Volatile, so that the compiler can't detect the faults.
int* volatile s_value = nullptr;
volatile int s_count = 0;

void StoreValue() {
    *s_value = 1;
}

void CallAbort() {
    std::abort();
}

int CountParents(int station) {
    volatile int path[64] = {station};
    return station < 0 ? 0 : CountParents(station + 1) + path[0];
}

void RecurseEndlessly() {
    s_count = CountParents(0);
}

void TakeMean() {
    s_count = 100 / s_count;
}

void AskSensor() {
    throw std::runtime_error("the sensor at Harbour doesn't answer");
}

class Sampler : public zel::Thread {
    void Run() override { StoreValue(); }
};

void Sample() {
    const zel::RCPtr<Sampler> sampler(new Sampler);
    sampler->Start();
    sampler->Join();
}

}  // namespace

// Not in an unnamed namespace, where the compiler could resolve the call of GetHeight.
namespace stations {

class Station {
public:
    // The derived class isn't constructed yet, so GetHeight is still pure virtual.
    Station() { Describe(); }
    virtual ~Station() = default;
    virtual int GetHeight() const = 0;

private:
    // The fault is intended.
    void Describe() const { s_count = GetHeight(); }  // NOLINT(*PureVirtualCall)
};

class Buoy : public Station {
    int GetHeight() const override { return 0; }
};

}  // namespace stations

namespace {

void BuildStation() {
    const stations::Buoy buoy;
}

constexpr struct {
    std::string_view name;
    void (*crash)();
} KINDS[] = {
    {"null", StoreValue},   {"abort", CallAbort}, {"overflow", RecurseEndlessly},
    {"divide", TakeMean},   {"throw", AskSensor}, {"thread", Sample},
    {"pure", BuildStation},
};

}  // namespace

int main(int argc, char** argv) {
    if (!zel::CrashHandler::Initialize(argc, argv, nullptr)) {
        std::cerr << "crash_report: crash handling is not available\n";
    }
    const std::string_view wanted = argc > 1 ? argv[1] : "null";
    for (const auto& kind : KINDS) {
        if (kind.name == wanted) {
            kind.crash();
        }
    }
    std::cerr << USAGE;
    return 2;
}
