// A program for a measuring station that dies in the way it is asked to, so that its crash report
// can be seen.

#include "zel/core/Thread.h"
#include "zel/crashd/CrashHandler.h"

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string_view>

namespace {

constexpr std::string_view USAGE = R"(usage: crash_report [KIND]

Dies and leaves a crash report on standard error. KIND is one of
  null      a write through a null pointer, and what happens without KIND
  abort     a call of abort
  overflow  a recursion without end
  divide    a division by zero
  throw     an exception that nobody catches
  thread    a write through a null pointer on a thread of its own
  pure      a call of a pure virtual function
)";

// The compiler can't know their values, and so not what goes wrong.
int* volatile s_value = nullptr;
volatile int s_count = 0;

void StoreValue() {
    *s_value = 1;
}

void GiveUp() {
    std::abort();
}

int CountParents(int station) {
    volatile int path[64] = {station};
    return station < 0 ? 0 : CountParents(station + 1) + path[0];
}

void CountForEver() {
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

// Had the namespace no name, the compiler would know that every station is a buoy.
namespace stations {

class Station {
public:
    // While this runs, the object isn't yet of a class that can tell its height.
    Station() { Describe(); }
    virtual ~Station() = default;
    virtual int GetHeight() const = 0;

private:
    // What is warned of is what is to happen here.
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
    void (*die)();
} KINDS[] = {
    {"null", StoreValue}, {"abort", GiveUp},  {"overflow", CountForEver}, {"divide", TakeMean},
    {"throw", AskSensor}, {"thread", Sample}, {"pure", BuildStation},
};

}  // namespace

int main(int argc, char** argv) {
    if (!zel::CrashHandler::Initialize(argc, argv, nullptr)) {
        std::cerr << "crash_report: there will be no report\n";
    }
    const std::string_view wanted = argc > 1 ? argv[1] : "null";
    for (const auto& kind : KINDS) {
        if (kind.name == wanted) {
            kind.die();
        }
    }
    std::cerr << USAGE;
    return 2;
}
