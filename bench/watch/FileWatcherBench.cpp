#include "zel/watch/FileWatcher.h"

#include "zel/core/Timer.h"

#include "bench/support/Comparison.h"
#include "bench/watch/Tree.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <semaphore>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zel::bench {

namespace {

namespace fs = std::filesystem;

// Each way of watching a directory has WaitForEvent, which returns when a file has been added.

class ByUs {
public:
    explicit ByUs(const fs::path& directory)
        : m_watcher(new FileWatcher(directory.c_str(), false, true, -1)) {
        m_watcher->FileAdded.Connect([this](const std::string&) { m_seen.release(); });
        m_watcher->FileRemoved.Connect([this](const std::string&) { m_gone.release(); });
        m_watcher->Start();
    }

    ~ByUs() {
        m_watcher->RequestStop();
        m_watcher->Join();
    }

    void WaitForEvent() { m_seen.acquire(); }
    void WaitUntilRemoved() { m_gone.acquire(); }

private:
    std::counting_semaphore<> m_seen{0};
    std::counting_semaphore<> m_gone{0};
    const RCPtr<FileWatcher> m_watcher;
};

class ByInotify {
public:
    explicit ByInotify(const fs::path& directory) {
        m_watch = ::inotify_add_watch(m_instance, directory.c_str(), IN_CREATE | IN_DELETE);
        m_thread = std::thread([this] { Read(); });
    }

    ~ByInotify() {
        m_stop = true;
        ::inotify_rm_watch(m_instance, m_watch);  // generates an event, which wakes the thread
        m_thread.join();
        ::close(m_instance);
    }

    void WaitForEvent() { m_seen.acquire(); }
    void WaitUntilRemoved() { m_gone.acquire(); }

private:
    void Read() {
        alignas(inotify_event) std::array<char, 4096> block;
        while (!m_stop) {
            const ssize_t size = ::read(m_instance, block.data(), block.size());
            for (ssize_t at = 0; at < size;) {
                const auto* const event = reinterpret_cast<const inotify_event*>(block.data() + at);
                if ((event->mask & IN_CREATE) != 0) {
                    m_seen.release();
                } else if ((event->mask & IN_DELETE) != 0) {
                    m_gone.release();
                }
                at += static_cast<ssize_t>(sizeof *event + event->len);
            }
        }
    }

    const int m_instance = ::inotify_init1(IN_CLOEXEC);
    int m_watch = -1;
    std::counting_semaphore<> m_seen{0};
    std::counting_semaphore<> m_gone{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

// The program inotifywait, which writes a line for each event.
class ByInotifyWait {
public:
    static bool IsThere() { return std::system("command -v inotifywait >/dev/null") == 0; }

    explicit ByInotifyWait(const fs::path& directory) {
        int ends[2] = {};
        Require(::pipe(ends) == 0, "a pipe is created");
        m_program = ::fork();
        if (m_program == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::dup2(ends[1], STDERR_FILENO);
            ::execlp("inotifywait", "inotifywait", "-m", "-e", "create", "-e", "delete",
                     directory.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
        m_lines = ::fdopen(ends[0], "r");
        while (ReadLine() && std::string(m_line.data()) != "Watches established.\n") {
        }
    }

    ~ByInotifyWait() {
        ::kill(m_program, SIGTERM);
        ::waitpid(m_program, nullptr, 0);
        std::fclose(m_lines);
    }

    void WaitForEvent() { Require(ReadLine(), "inotifywait reports the file"); }
    void WaitUntilRemoved() { Require(ReadLine(), "inotifywait reports its removal"); }

private:
    bool ReadLine() {
        return std::fgets(m_line.data(), static_cast<int>(m_line.size()), m_lines) != nullptr;
    }

    pid_t m_program = -1;
    std::FILE* m_lines = nullptr;
    std::array<char, 4096> m_line{};
};

void Create(const fs::path& file) {
    ::close(::open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
}

void ReportMicroseconds(benchmark::State& state, double seconds, std::size_t eventsInEach = 1) {
    constexpr double microseconds = 1e6;
    state.counters["us"] =
        benchmark::Counter(seconds * microseconds / static_cast<double>(eventsInEach),
                           benchmark::Counter::kAvgIterations);
}

// Returns the time from before the creation of a file to its event, in seconds.
template <class Way>
double MeasureEvent(const fs::path& file, Way& way) {
    const Timer timer;
    Create(file);
    way.WaitForEvent();
    const double seconds = timer.GetElapsedTime();
    fs::remove(file);
    way.WaitUntilRemoved();
    return seconds;
}

// The first event waits until the watch has begun.
template <class Way>
void MeasureEvents(benchmark::State& state, const fs::path& directory, Way& way) {
    const fs::path file = directory / "new";
    MeasureEvent(file, way);
    double seconds = 0;
    for (auto _ : state) {
        seconds += MeasureEvent(file, way);
    }
    ReportMicroseconds(state, seconds);
}

template <class Way>
void InEmptyDirectory(benchmark::State& state) {
    const Folder folder;
    Way way(folder.GetPath());
    MeasureEvents(state, folder.GetPath(), way);
}

// Creates many files, in a directory that is empty at first: the next one when the one before was
// reported, or all in a row.
template <class Way, bool isBurst>
void FillDirectory(benchmark::State& state) {
    constexpr std::size_t files = isBurst ? 2'000 : 1'000;
    double seconds = 0;
    for (auto _ : state) {
        const Folder folder;
        Way way(folder.GetPath());
        const std::string prefix = folder.GetPath() / "measurement";
        const Timer timer;
        for (std::size_t i = 0; i < files; ++i) {
            Create(prefix + std::to_string(i));
            if (!isBurst) {
                way.WaitForEvent();
            }
        }
        for (std::size_t i = 0; isBurst && i < files; ++i) {
            way.WaitForEvent();
        }
        seconds += timer.GetElapsedTime();
    }
    ReportMicroseconds(state, seconds, files);
}

template <void measure(benchmark::State&)>
void ByProgram(benchmark::State& state) {
    if (!ByInotifyWait::IsThere()) {
        state.SkipWithError("inotifywait is not installed");
        return;
    }
    measure(state);
}

void InLargeTree(benchmark::State& state) {
    ByUs way(LargeTree());
    MeasureEvents(state, LargeTree() / "directory1/directory2/directory3", way);
}

const Comparison s_event("from a file to its event, empty directory",
                         {{Side::OURS, InEmptyDirectory<ByUs>},
                          {"inotify", InEmptyDirectory<ByInotify>, 1.5},
                          {"inotifywait", ByProgram<InEmptyDirectory<ByInotifyWait>>, 0.75}});

const Comparison s_filling("the same in a directory that fills to 1,000 files",
                           {{Side::OURS, FillDirectory<ByUs, false>},
                            {"inotify", FillDirectory<ByInotify, false>, 1.5},
                            {"inotifywait", ByProgram<FillDirectory<ByInotifyWait, false>>, 0.75}});

const Comparison s_burst("the same in a burst of 2,000 files",
                         {{Side::OURS, FillDirectory<ByUs, true>},
                          {"inotify", FillDirectory<ByInotify, true>, 1.25}});

const Comparison s_eventInTree("the same in a tree of 100,000 files",
                               {{Side::OURS, InLargeTree},
                                {"empty directory", InEmptyDirectory<ByUs>, 3}});

}  // namespace

}  // namespace zel::bench
