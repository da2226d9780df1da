// Imports the files of a folder into a store of typed values: a small complete application.

#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TimerThread.h"
#include "zel/crashd/CrashHandler.h"
#include "zel/data/DataTree.h"
#include "zel/foundation/Log.h"
#include "zel/watch/SettledFiles.h"

#include "Intake.h"

#include <array>
#include <atomic>
#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string_view>

using zel::RCPtr;
namespace fs = std::filesystem;

namespace {

constexpr std::string_view USAGE =
    R"(usage: intake_station SETTINGS
       intake_station --print SETTINGS

Imports each file that appears in the drop folder into the store, until it is interrupted or a file
named stop appears there. With --print writes the rows of the store to standard output.
)";

const zel::LogArea s_log("Station", 4);

// A signal handler may only set a lock-free atomic.
std::atomic<bool> s_isInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void Interrupt(int) {
    s_isInterrupted = true;
}

// Connects the parts: files are reported when they are complete, and imported by commands.
class Station {
public:
    explicit Station(const Settings& settings)
        : m_stop(new zel::Event(zel::Event::ManualReset)),
          m_intake(new Intake(settings)),
          m_commands(new zel::ThreadCommandProcessor("Intake")),
          m_files(new zel::SettledFiles(settings.dropFolder.c_str(), true, false,
                                        settings.settleSeconds)),
          m_ticker(new zel::TimerThread(m_commands, 1, 1, zel::TimerThread::FOREVER)) {
        m_connections[0] =
            m_files->FileSettled.ConnectScoped([this](const std::string& path) { Take(path); });
        m_connections[1] = m_ticker->GetEvent().ConnectScoped(
            [this](zel::TimerThread* const&) { PrintSummary(); });
    }

    void Run() {
        constexpr int milliseconds = 50;
        m_files->Start();
        m_ticker->Start();
        while (!s_isInterrupted && !m_stop->Wait(milliseconds)) {
        }
        // Stopped from the first stage to the last, so that files in progress are completed.
        m_files->RequestStop();
        m_files->Join();
        m_ticker->RequestStop();
        m_ticker->Join();
        m_commands->Stop();
        PrintSummary();
    }

private:
    // The command holds the intake weakly, and a copy of the path.
    void Take(const std::string& path) {
        if (fs::path(path).filename() == "stop") {
            fs::remove(path);
            m_stop->Set(true);
        } else {
            m_commands->Post(m_intake, &Intake::TakeFile, path);
        }
    }

    void PrintSummary() {
        const std::string summary = m_intake->GetSummary();
        std::cout << summary << std::endl;
        zel::Log(s_log, 4, summary);
    }

    const RCPtr<zel::Event> m_stop;
    const RCPtr<Intake> m_intake;
    const RCPtr<zel::ThreadCommandProcessor> m_commands;
    const RCPtr<zel::SettledFiles> m_files;
    const RCPtr<zel::TimerThread> m_ticker;
    std::array<zel::ScopedConnection, 2> m_connections;
};

void StartLog(const std::string& path) {
    const RCPtr<zel::Logger> logger(new zel::Logger);
    logger->AddSink(new zel::RotatingFileLogSink(path, 10'000'000, 5));
    logger->SetGlobalLogLevel(3);
    logger->Start();
    zel::Logger::SetInstance(logger);
}

void Serve(const Settings& settings) {
    for (const std::string& folder :
         {settings.dropFolder, settings.doneFolder, settings.rejectedFolder}) {
        fs::create_directories(folder);
    }
    StartLog(settings.logFile);
    std::signal(SIGINT, Interrupt);
    std::signal(SIGTERM, Interrupt);
    zel::Log(s_log, 4, "The station starts");
    Station(settings).Run();
    zel::Log(s_log, 4, "The station stops");
}

void Print(const Settings& settings) {
    Store::Read(settings.storeFile, MakePrototypes(settings.columns), [](const Record& record) {
        for (const auto& value : record) {
            std::cout << value->WriteValueToString(false) << ',';
        }
        std::cout << '\n';
    });
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int inputError = 1;
    constexpr int usageError = 2;
    zel::CrashHandler::Initialize(argc, argv,
                                  zel::CrashHandler::ReportToFile("intake_station-crash-"));
    const bool shouldPrint = argc > 1 && std::string_view(argv[1]) == "--print";
    if (argc != (shouldPrint ? 3 : 2)) {
        std::cerr << USAGE;
        return usageError;
    }
    try {
        const Settings settings = Settings::Load(argv[argc - 1]);
        shouldPrint ? Print(settings) : Serve(settings);
        return 0;
    } catch (const zel::DataTreeEx& ex) {
        std::cerr << "intake_station: " << ex.GetInfo() << (ex.GetInfo().empty() ? "" : ": ")
                  << ex.what() << '\n';
    } catch (const std::exception& ex) {
        std::cerr << "intake_station: " << ex.what() << '\n';
    }
    return inputError;
}
