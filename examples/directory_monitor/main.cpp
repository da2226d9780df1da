// Prints the files and directories that appear in or disappear from directories, until it is
// interrupted.

#include "zel/core/Logger.h"
#include "zel/watch/FileWatcher.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <syncstream>
#include <vector>

using zel::FileWatcher;
using zel::RCPtr;

namespace {

constexpr const char* USAGE = R"(usage: directory_monitor PATH...

Prints a line for each file and directory that appears (+) or disappears (-) below the paths, which
need not exist yet. Ctrl-C stops it.
)";

// A signal handler may only set a lock-free atomic. Windows calls it on another thread.
std::atomic<bool> s_isInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void OnInterrupt(int) {
    s_isInterrupted = true;
}

// Replaces control characters, so that a path takes one line.
std::string Printable(std::string path) {
    std::ranges::replace_if(
        path, [](unsigned char c) { return c < ' ' || c == '\x7F'; }, '?');
    return path;
}

// Returns a sink that prints. The watchers' threads print concurrently.
auto Print(const char* mark) {
    return [mark](const std::string& path) {
        std::osyncstream(std::cout) << mark << Printable(path) << std::endl;
    };
}

RCPtr<FileWatcher> Watch(const char* path) {
    constexpr bool reportExisting = false;
    constexpr bool recursive = true;
    constexpr double noPolling = -1;
    RCPtr<FileWatcher> watcher(new FileWatcher(path, reportExisting, recursive, noPolling));
    watcher->FileAdded.Connect(Print("+ file      "));
    watcher->FileRemoved.Connect(Print("- file      "));
    watcher->DirAdded.Connect(Print("+ directory "));
    watcher->DirRemoved.Connect(Print("- directory "));
    if (!watcher->IsComplete()) {
        std::cerr << path << ": " << watcher->GetWarning() << '\n';
    }
    watcher->Start();
    return watcher;
}

void Stop(const std::vector<RCPtr<FileWatcher>>& watchers) {
    for (const RCPtr<FileWatcher>& watcher : watchers) {
        watcher->RequestStop();
    }
    for (const RCPtr<FileWatcher>& watcher : watchers) {
        watcher->Join();
    }
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int failed = 1;
    constexpr int wrongUsage = 2;
    if (argc < 2) {
        std::cerr << USAGE;
        return wrongUsage;
    }
    try {
        zel::Logger::StartOnStandardError(2);
        std::signal(SIGINT, OnInterrupt);
        std::vector<RCPtr<FileWatcher>> watchers;
        for (int i = 1; i < argc; ++i) {
            watchers.push_back(Watch(argv[i]));
            std::osyncstream(std::cout) << "watching " << Printable(argv[i]) << std::endl;
        }
        while (!s_isInterrupted) {
            zel::Thread::SleepFor(50);
        }
        Stop(watchers);
        std::cout << "interrupted" << std::endl;
        return 0;
    } catch (const std::exception& ex) {
        std::cerr << "directory_monitor: " << ex.what() << std::endl;
        return failed;
    }
}
