#pragma once

#include "bench/data/Document.h"
#include "bench/support/Comparison.h"
#include "bench/support/Heap.h"

#include <random>
#include <vector>

namespace zel::bench {

// Comparisons of document libraries. A `Kind` has a movable Tree and those of these static members
// that a comparison uses: the SYNTAX that Read parses, Tree Read(const std::string&),
// std::size_t CountNodes(const Tree&), Tree Clone(const Tree&), std::size_t Write(const Tree&),
// which returns the length of the compact text, and Find(const Tree&, const std::string&), which
// returns a child of the root that converts to true.
namespace Documents {
inline constexpr std::size_t SMALL = 78;
inline constexpr std::size_t LARGE = 100'000;
inline constexpr const char* READ_SMALL = "read and drop 78 nodes";
inline constexpr const char* READ_LARGE = "read and drop 100,000 nodes";
inline constexpr const char* HEAP_SMALL = "heap of 78 nodes";
inline constexpr const char* HEAP_LARGE = "heap of 100,000 nodes";
inline constexpr const char* WRITE_SMALL = "write 78 nodes compact";
inline constexpr const char* WRITE_LARGE = "write 100,000 nodes compact";
inline constexpr const char* CLONE_SMALL = "clone and drop 78 nodes";
inline constexpr const char* CLONE_LARGE = "clone and drop 100,000 nodes";
inline constexpr const char* FIND = "find one of 100 children by name";
inline constexpr const char* FIND_OF_TEN = "find one of 10 children by name";
}  // namespace Documents

template <class Kind>
std::string SettingsText(std::size_t nodes) {
    std::string text = Write(MakeSettings(nodes), Kind::SYNTAX);
    Require(Kind::CountNodes(Kind::Read(text)) == nodes, "the whole document is read");
    return text;
}

template <class Kind, std::size_t nodes>
void ReadAndDrop(benchmark::State& state) {
    const std::string text = SettingsText<Kind>(nodes);
    for (auto _ : state) {
        auto tree = Kind::Read(text);
        benchmark::DoNotOptimize(tree);
    }
    ReportPerNode(state, nodes);
}

template <class Kind, std::size_t nodes>
void MeasureHeap(benchmark::State& state) {
    constexpr std::size_t copies = Documents::LARGE / nodes;
    const std::string text = SettingsText<Kind>(nodes);
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::vector<typename Kind::Tree> trees;
        trees.reserve(copies);
        const std::size_t before = GetHeapBytes();
        while (trees.size() < copies) {
            trees.push_back(Kind::Read(text));
        }
        bytes = GetHeapBytes() - before;
    }
    state.counters["bytes/node"] = static_cast<double>(bytes) / static_cast<double>(copies * nodes);
}

template <class Kind, std::size_t nodes>
void WriteCompact(benchmark::State& state) {
    const std::string text = SettingsText<Kind>(nodes);
    const auto tree = Kind::Read(text);
    Require(Kind::Write(tree) == text.size(), "the written text has the length of the input");
    for (auto _ : state) {
        benchmark::DoNotOptimize(Kind::Write(tree));
    }
    ReportPerNode(state, nodes);
}

template <class Kind, std::size_t nodes>
void CloneAndDrop(benchmark::State& state) {
    const auto tree = Kind::Read(SettingsText<Kind>(nodes));
    for (auto _ : state) {
        auto clone = Kind::Clone(tree);
        benchmark::DoNotOptimize(clone);
    }
    ReportPerNode(state, nodes);
}

template <class Kind, std::size_t children = 100>
void FindChild(benchmark::State& state) {
    const Node list = MakeList(children);
    const auto tree = Kind::Read(Write(list, Kind::SYNTAX));
    std::vector<std::string> names(1024);
    std::mt19937 random(children);
    for (std::string& name : names) {
        name = list.children[random() % children].name;
        Require(static_cast<bool>(Kind::Find(tree, name)), "every child is found");
    }
    std::size_t next = 0;
    for (auto _ : state) {
        auto found = Kind::Find(tree, names[next++ % names.size()]);
        benchmark::DoNotOptimize(found);
    }
}

}  // namespace zel::bench
