#include "zel/watch/FileWatcher.h"

#include "bench/support/Comparison.h"
#include "bench/support/Heap.h"
#include "bench/watch/Tree.h"

#include <set>

namespace zel::bench {

namespace {

// Both sides keep the previous listing while they build the next, as a watcher must.
template <class Listing, class List>
void KeepListing(benchmark::State& state, List list) {
    Listing files[2];
    Listing dirs[2];
    int next = 0;
    for (auto _ : state) {
        list(files[next], dirs[next]);
        Require(files[next].size() == Trees::FILES && dirs[next].size() == Trees::DIRECTORIES,
                "all entries are listed");
        next = 1 - next;
        files[next].clear();
        dirs[next].clear();
    }
    ReportPerNode(state, Trees::FILES + Trees::DIRECTORIES);
}

void ListByUs(benchmark::State& state) {
    using Listing = std::set<std::string, StrcmpiPred>;
    const std::string root = LargeTree();
    KeepListing<Listing>(state, [&](Listing& files, Listing& dirs) {
        FileWatcher::EnumFilesAndDirs(root.c_str(), true, &files, &dirs);
    });
}

void ListByIterator(benchmark::State& state) {
    using Listing = std::set<std::string>;
    const std::filesystem::path& root = LargeTree();
    KeepListing<Listing>(state, [&](Listing& files, Listing& dirs) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
            (entry.is_directory() ? dirs : files).insert(entry.path().string());
        }
    });
}

// Measured between two listings; during a listing both the old and the new one exist.
void MeasureHeapOfWatcher(benchmark::State& state) {
    const std::string root = LargeTree();
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::size_t before = GetHeapBytes();
        const RCPtr<FileWatcher> watcher(new FileWatcher(root.c_str(), false, true, -1));
        watcher->Tick();
        bytes = GetHeapBytes() - before;
    }
    state.counters["bytes/file"] = static_cast<double>(bytes) / Trees::FILES;
}

const Comparison s_list("list 100,000 files in 1,110 directories",
                        {{Side::OURS, ListByUs}, {"std::filesystem", ListByIterator, 0.5}});

const Comparison s_heap("heap of a watcher of 100,000 files", {{Side::OURS, MeasureHeapOfWatcher}});

}  // namespace

}  // namespace zel::bench
