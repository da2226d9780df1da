#include "zel/bridge/CFuncBinder.h"
#include "zel/commands/ThreadCommandProcessor.h"
#include "zel/commands/TimerEventThread.h"
#include "zel/commands/TimerThread.h"
#include "zel/data/DataTable.h"
#include "zel/data/DataTree.h"
#include "zel/process/ProcessUtils.h"
#include "zel/variant/Variant.h"
#include "zel/watch/FileWatcher.h"

#include "tests/support/TemporaryFolder.h"

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

// Uses all families that share state at the same time, each on its own thread, for the minutes of
// the first argument (default 30). Memory must not grow after a tenth of the time, nor descriptors
// leak.

namespace {

using namespace zel;
namespace fs = std::filesystem;

void Require(bool condition, const char* requirement) {
    if (!condition) {
        throw std::runtime_error(requirement);
    }
}

void UseTrees() {
    const RCPtr<DataTree> tree = DataTree::FromString(R"(["a" ."b"="1" ["c" ."d"="2"]])");
    tree->GetChild("c")->AppendChild(tree->GetChild("b")->Clone());
    const std::string text = tree->ToString();
    Require(DataTree::FromString(text)->ToString() == text, "a tree is restored from its text");
    try {
        DataTree::FromString(text.substr(0, text.size() / 2));
        Require(false, "half a tree is rejected");
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
    // Shared by two threads, so that it is read while it is written.
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

void UseBridge() {
    static char s_key;
    CBinder::Prepare();
    RegisterFunction(&s_key, [](int a, int b) { return a + b; });
    int sum = 0;
    ZelCppBridge(&s_key, 2, 3, &sum);
    CBinder::Release();
    Require(sum == 5, "a function is called");
}

constexpr int TIMEOUT = 60'000;

void UseCommandsAndTimers() {
    const RCPtr<Event> isTicked(new Event(Event::ManualReset));
    const RCPtr<Event> isDue(new Event(Event::ManualReset));
    const RCPtr<ThreadCommandProcessor> processor(new ThreadCommandProcessor);
    const RCPtr<TimerThread> ticker(new TimerThread(processor, 0, 1, 3));
    ticker->GetEvent().Connect([&](TimerThread* const&) { isTicked->Set(true); });
    ticker->Start();
    const RCPtr<TimerEventThread> timers(new TimerEventThread);
    timers->Start();
    timers->AddTimer(new CallbackTimer(0.001, [&] { isDue->Set(true); }));
    timers->AddTimer(new CallbackTimer(1e9, [] {}));
    Require(Event::WaitMultiple({isTicked, isDue}, true, TIMEOUT) == 0, "a tick and a timer");
    timers->RequestStop();
    timers->Join();
    ticker->Join();
    processor->Stop();
}

void UseWatcher() {
    const test::TemporaryFolder folder;
    const fs::path watched = folder / "watched";
    const RCPtr<FileWatcher> watcher(new FileWatcher(watched.c_str(), false, true, -1));
    const RCPtr<Event> isSeen(new Event(Event::ManualReset));
    watcher->FileAdded.Connect([&](const std::string&) { isSeen->Set(true); });
    watcher->Start();
    fs::create_directories(watched / "deep");
    std::ofstream(watched / "deep/file") << "text";
    Require(isSeen->Wait(TIMEOUT), "a file is reported");
    watcher->RequestStop();
    watcher->Join();
}

void UseProcesses() {
    std::list<RCPtr<ProcessInfo>> processes;
    ProcessUtils::ListProcesses(&processes, "");
    Require(!processes.empty(), "processes are listed");
}

std::ptrdiff_t CountDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

std::size_t GetResidentKilobytes() {
    malloc_trim(0);
    std::ifstream in("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    in >> total >> resident;
    return resident * static_cast<std::size_t>(::getpagesize()) / 1024;
}

void RunUntilStop(const std::stop_token& stop, const std::string& name, void (*run)()) {
    long rounds = 0;
    try {
        for (; !stop.stop_requested(); ++rounds) {
            run();
        }
    } catch (const std::exception& ex) {
        std::cerr << name << ": " << ex.what() << std::endl;
        std::_Exit(1);
    }
    std::cout << name + ": " + std::to_string(rounds) + " rounds\n";
}

}  // namespace

int main(int argc, char** argv) {
    const std::chrono::duration<double> time(60 * (argc > 1 ? std::stod(argv[1]) : 30));
    const auto begin = std::chrono::steady_clock::now();
    const std::ptrdiff_t descriptorsBefore = CountDescriptors();
    std::vector<std::jthread> threads;
    threads.emplace_back(RunUntilStop, "trees", UseTrees);
    threads.emplace_back(RunUntilStop, "tables", UseTables);
    threads.emplace_back(RunUntilStop, "variants", UseVariants);
    threads.emplace_back(RunUntilStop, "variants again", UseVariants);
    threads.emplace_back(RunUntilStop, "bridge", UseBridge);
    threads.emplace_back(RunUntilStop, "commands and timers", UseCommandsAndTimers);
    threads.emplace_back(RunUntilStop, "watching", UseWatcher);
    threads.emplace_back(RunUntilStop, "processes", UseProcesses);
    std::this_thread::sleep_until(begin + time / 10);
    const std::size_t memoryBefore = GetResidentKilobytes();
    std::this_thread::sleep_until(begin + time);
    const std::size_t memoryAfter = GetResidentKilobytes();
    threads.clear();
    const std::ptrdiff_t descriptorsAfter = CountDescriptors();
    std::cout << memoryBefore << " KB after a tenth of the time, " << memoryAfter
              << " KB at the end; " << descriptorsBefore << " descriptors before, "
              << descriptorsAfter << " after\n";
    return memoryAfter < memoryBefore + 4096 && descriptorsAfter == descriptorsBefore ? 0 : 1;
}
