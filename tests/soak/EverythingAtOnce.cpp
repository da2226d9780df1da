#include "zel/bridge/CFuncBinder.h"
#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TimerEventThread.h"
#include "zel/commands/TimerThread.h"
#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/persistence/BinaryUtils.h"
#include "zel/process/ProcessUtils.h"
#include "zel/variant/Variant.h"
#include "zel/watch/FileWatcher.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <vector>

// All families at work at the same time, each on a thread of its own, for the minutes that the
// first argument says (30 without one): memory and descriptors are at the end what they were once
// everything had run for a tenth of the time.

namespace {

using namespace zel;
namespace fs = std::filesystem;

void Require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

void UseTrees() {
    const RCPtr<DataTree> tree = DataTree::FromString(R"(["a" ."b"="1" ["c" ."d"="2"]])");
    tree->GetChild("c")->AppendChild(tree->GetChild("b")->Clone());
    const std::string text = tree->ToString();
    Require(DataTree::FromString(text)->ToString() == text, "a tree reads back");
    try {
        DataTree::FromString(text.substr(0, text.size() / 2));
        Require(false, "half a tree is refused");
    } catch (const DataTreeEx&) {
    }
}

void UseTables() {
    const RCPtr<DataTable> table(new DataTable);
    std::stringstream text("name,height\nLake,395\nHill,571\n");
    table->ReadFromCSV(text, ",", true, true, false, false);
    std::stringstream written;
    table->WriteToCSV(written, ';');
    Require(written.str() == "name;height;\nLake;395;\nHill;571;\n", "a table is written");
}

void UseVariants() {
    // Shared by all who come here, so that each value is read while it is written.
    static const RCPtr<VariantBase> s_shared = VariantBase::CreateByTypeName("S32[]");
    s_shared->ReadValueFromString("1`2`3", false);
    std::vector<double> values;
    s_shared->GetValue(&values, true);
    Require(values.size() == 3, "an array is read whole");
    std::stringstream stream;
    s_shared->WriteValueToStream(stream);
    const RCPtr<VariantBase> copy = s_shared->Clone();
    Require(copy->ReadValueFromStream(stream), "the stream form reads back");
    Require(copy->IsEqual(s_shared, true, false, true), "the copy is equal");
}

void UsePersistence() {
    std::stringstream out;
    BinaryUtils::DataPacker(&out, false).Insert(static_cast<unsigned short>(571));
    const std::string bytes = out.str();
    BinaryUtils::DataUnpacker unpacker(bytes, false);
    unsigned short value = 0;
    unpacker.Extract(&value);
    Require(value == 571, "a number is unpacked");
}

void UseBridge() {
    static char s_key;
    CBinder::Prepare();
    RegisterFunction(&s_key, [](int a, int b) { return a + b; });
    int sum = 0;
    ZelCppBridge(&s_key, 2, 3, &sum);
    CBinder::Release();
    Require(sum == 5, "a function is called");
}

void UseCommandsAndTimers() {
    class Signal : public Command {
    public:
        explicit Signal(RCPtr<Event> event) : m_event(std::move(event)) {}
        void Run() override { m_event->Set(true); }

    private:
        const RCPtr<Event> m_event;
    };
    constexpr int patience = 60'000;
    const RCPtr<Event> isRun(new Event(Event::ManualReset));
    const RCPtr<Event> isTicked(new Event(Event::ManualReset));
    const RCPtr<Event> isDue(new Event(Event::ManualReset));
    const RCPtr<ThreadCommandProcessor> processor(new ThreadCommandProcessor);
    processor->PostCommand(new Signal(isRun));
    const RCPtr<TimerThread> ticker(new TimerThread(processor, 0, 1, 3));
    ticker->GetEvent().Connect([&](TimerThread* const&) { isTicked->Set(true); });
    ticker->Start();
    const RCPtr<TimerEventThread> timers(new TimerEventThread);
    timers->Start();
    timers->AddTimer(new CallbackTimer(0.001, [&] { isDue->Set(true); }));
    timers->AddTimer(new CallbackTimer(1e9, [] {}));
    Require(Event::WaitMultiple({isRun, isTicked, isDue}, true, patience) == 0,
            "a command, a tick and a timer");
    timers->RequestStop();
    timers->Join();
    ticker->Join();
    processor->Stop();
}

void UseWatcher() {
    const fs::path folder =
        fs::temp_directory_path() / ("zel_everything_" + std::to_string(::getpid()));
    fs::create_directories(folder / "deep");
    const RCPtr<FileWatcher> watcher(new FileWatcher(folder.c_str(), false, true, -1));
    const RCPtr<Event> isSeen(new Event(Event::ManualReset));
    watcher->FileAdded.Connect([&](const std::string&) { isSeen->Set(true); });
    watcher->Start();
    std::ofstream(folder / "deep/file") << "text";
    Require(isSeen->Wait(60'000), "a file is seen");
    watcher->RequestStop();
    watcher->Join();
    fs::remove_all(folder);
}

void UseProcesses() {
    std::list<RCPtr<ProcessInfo>> processes;
    ProcessUtils::ListProcesses(&processes, "");
    Require(!processes.empty(), "there are processes");
}

std::size_t CountDescriptors() {
    const fs::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Kilobytes that the process has in memory.
std::size_t GetMemory() {
    malloc_trim(0);
    std::ifstream in("/proc/self/statm");
    std::size_t whole = 0;
    std::size_t resident = 0;
    in >> whole >> resident;
    return resident * static_cast<std::size_t>(::getpagesize()) / 1024;
}

struct Work {
    const char* name;
    void (*run)();
    std::atomic<long> rounds{0};
};

Work s_works[] = {{"trees", UseTrees},
                  {"tables", UseTables},
                  {"variants", UseVariants},
                  {"variants again", UseVariants},
                  {"persistence", UsePersistence},
                  {"bridge", UseBridge},
                  {"commands and timers", UseCommandsAndTimers},
                  {"watching", UseWatcher},
                  {"processes", UseProcesses}};

std::atomic<bool> s_isOver{false};

void RunUntilOver(Work& work) {
    try {
        for (; !s_isOver; ++work.rounds) {
            work.run();
        }
    } catch (const std::exception& ex) {
        std::cerr << work.name << ": " << ex.what() << std::endl;
        std::_Exit(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const double minutes = argc > 1 ? std::stod(argv[1]) : 30;
    const std::chrono::duration<double> time(60 * minutes);
    const auto begin = std::chrono::steady_clock::now();
    const std::size_t descriptorsBefore = CountDescriptors();
    std::vector<std::thread> threads;
    for (Work& work : s_works) {
        threads.emplace_back([&work] { RunUntilOver(work); });
    }
    std::this_thread::sleep_until(begin + time / 10);
    const std::size_t memoryBefore = GetMemory();
    std::this_thread::sleep_until(begin + time);
    const std::size_t memoryAfter = GetMemory();
    s_isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Work& work : s_works) {
        std::cout << work.name << ": " << work.rounds << " rounds\n";
    }
    constexpr std::size_t allowance = 4096;
    const std::size_t descriptors = CountDescriptors();
    std::cout << memoryBefore << " KB after a tenth of the time, " << memoryAfter
              << " KB at its end; " << descriptorsBefore << " descriptors before, " << descriptors
              << " after\n";
    return memoryAfter < memoryBefore + allowance && descriptors == descriptorsBefore ? 0 : 1;
}
