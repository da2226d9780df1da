// Ticks four times a second while one-shot timers fire, and prints at the end when each tick and
// timer was due and when it arrived.

#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TimerEventThread.h"
#include "zel/commands/TimerThread.h"
#include "zel/core/Exception.h"
#include "zel/core/Logger.h"
#include "zel/core/StringUtils.h"

#include <iostream>
#include <string>
#include <vector>

using zel::CallbackTimer;
using zel::RCPtr;
using zel::ThreadCommandProcessor;
using zel::Timer;
using zel::TimerEventThread;
using zel::TimerThread;
namespace StringUtils = zel::StringUtils;

namespace {

constexpr const char* USAGE = R"(usage: ticker SECONDS

Prints a tick every quarter of a second for SECONDS, at most 3600, while five one-shot timers fire,
and then a table of all ticks and timers: when each was due and when it arrived, in milliseconds.
)";

constexpr double PERIOD = 0.25;
constexpr int LONGEST = 3600;

// When a tick or timer was due and when it arrived, in seconds from the start.
struct Arrival {
    std::string name;
    double due;
    double actual;
};

// Records ticks on the processor's thread and timers on the timer thread. Each list is used by its
// thread alone until that thread has exited.
class Ticker {
public:
    explicit Ticker(int seconds)
        : m_seconds(seconds),
          m_ticks(new TimerThread(m_processor, PERIOD, 1, static_cast<int>(seconds / PERIOD))) {
        m_connection =
            m_ticks->GetEvent().ConnectScoped([this](TimerThread* const&) { RecordTick(); });
    }

    ~Ticker() { Stop(); }
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

    void Run() {
        m_clock.Start();
        for (const double share : {0.8, 0.05, 0.5, 0.333, 0.4999}) {
            ArmTimer(share * m_seconds);
        }
        m_timers->Start();
        m_ticks->Start();
        m_ticks->Join();
        Stop();
    }

    void PrintTable() const {
        std::cout << "              due     actual\n";
        for (const std::vector<Arrival>* arrivals : {&m_tickArrivals, &m_timerArrivals}) {
            for (const Arrival& arrival : *arrivals) {
                std::cout << StringUtils::Format("%-8s %8.1f   %8.1f\n", arrival.name.c_str(),
                                                 arrival.due * 1000, arrival.actual * 1000);
            }
        }
    }

private:
    // The threads call back into this object, so it stops them before it is destroyed.
    void Stop() {
        m_ticks->RequestStop();
        m_ticks->Join();
        m_processor->Stop();
        m_timers->RequestStop();
        m_timers->Join();
    }

    void RecordTick() {
        const double now = m_clock.GetElapsedTime();
        const std::size_t number = m_tickArrivals.size() + 1;
        const std::string name = "tick " + StringUtils::AsString(number);
        m_tickArrivals.push_back({name, static_cast<double>(number) * PERIOD, now});
        std::cout << name << std::endl;
    }

    void ArmTimer(double interval) {
        m_timers->AddTimer(new CallbackTimer(interval, [this, interval] {
            m_timerArrivals.push_back({"timer", interval, m_clock.GetElapsedTime()});
        }));
    }

    const int m_seconds;
    const RCPtr<ThreadCommandProcessor> m_processor{new ThreadCommandProcessor("Ticks")};
    const RCPtr<TimerEventThread> m_timers{new TimerEventThread};
    const RCPtr<TimerThread> m_ticks;
    zel::ScopedConnection m_connection;
    Timer m_clock;
    std::vector<Arrival> m_tickArrivals;
    std::vector<Arrival> m_timerArrivals;
};

}  // namespace

int main(int argc, char** argv) {
    constexpr int failure = 1;
    constexpr int wrongUsage = 2;
    int seconds = 0;
    if (argc != 2 || !StringUtils::FromString(argv[1], seconds, 10) || seconds < 1 ||
        seconds > LONGEST) {
        std::cerr << USAGE;
        return wrongUsage;
    }
    try {
        zel::Logger::StartOnStandardError(2);
        Ticker ticker(seconds);
        ticker.Run();
        ticker.PrintTable();
    } catch (const std::exception& ex) {
        std::cerr << "ticker: " << ex.what() << '\n';
        return failure;
    }
    return std::cout.flush() ? 0 : failure;
}
