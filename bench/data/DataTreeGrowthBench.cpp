#include "zel/data/DataTree.h"
#include "zel/foundation/MemOS.h"

#include "bench/support/Comparison.h"

namespace zel::bench {

namespace {

std::string Repeat(const std::string& text, std::size_t times) {
    std::string result;
    while (times-- > 0) {
        result += text;
    }
    return result;
}

std::string Levels(std::size_t nodes) {
    return Repeat("[\"level\"", nodes) + Repeat("]", nodes);
}

std::string Children(std::size_t nodes) {
    return "[\"root\"" + Repeat(".\"child\"=\"1\"", nodes - 1) + "]";
}

// Creates a tree in every iteration and destroys it. Only one of the two is measured.
enum class Measured { Make, Drop };

template <class Make>
void MakeAndDrop(benchmark::State& state, Measured measured, Make make) {
    const auto pauseUnless = [&](bool isMeasured, auto work) {
        if (!isMeasured) {
            state.PauseTiming();
        }
        work();
        if (!isMeasured) {
            state.ResumeTiming();
        }
    };
    for (auto _ : state) {
        RCPtr<DataTree> tree;
        pauseUnless(measured == Measured::Make, [&] { tree = make(); });
        pauseUnless(measured == Measured::Drop, [&] { tree = nullptr; });
    }
}

void Read(benchmark::State& state, const std::string& text) {
    MakeAndDrop(state, Measured::Make, [&] { return DataTree::FromString(text); });
}

void Drop(benchmark::State& state, const std::string& text) {
    MakeAndDrop(state, Measured::Drop, [&] { return DataTree::FromString(text); });
}

void Clone(benchmark::State& state, const std::string& text) {
    const RCPtr<DataTree> tree = DataTree::FromString(text);
    MakeAndDrop(state, Measured::Make, [&] { return tree->Clone(); });
}

void Write(benchmark::State& state, const std::string& text) {
    const RCPtr<DataTree> tree = DataTree::FromString(text);
    for (auto _ : state) {
        MemOS out;
        tree->WriteTo(out, -1);
        Require(out.GetText() == text, "the written text equals the input");
    }
}

using Work = void(benchmark::State&, const std::string&);
using Shape = std::string(std::size_t);

Side OfSize(const std::string& name, std::size_t nodes, Work work, Shape shape) {
    return {name, [=](benchmark::State& state) {
                work(state, shape(nodes));
                ReportPerNode(state, nodes);
            }};
}

// Compares the time of a node with that in a tree a hundred times the size.
Comparison Growth(const std::string& verb, Work work, const std::string& things, Shape shape) {
    return {verb + " 1,000,000 " + things,
            {OfSize(Side::OURS, 1'000'000, work, shape),
             OfSize("10,000 " + things, 10'000, work, shape)}};
}

const Comparison s_readLevels = Growth("read", Read, "levels", Levels);
const Comparison s_writeLevels = Growth("write", Write, "levels", Levels);
const Comparison s_cloneLevels = Growth("clone", Clone, "levels", Levels);
const Comparison s_dropLevels = Growth("drop", Drop, "levels", Levels);
const Comparison s_readChildren = Growth("read", Read, "children", Children);
const Comparison s_writeChildren = Growth("write", Write, "children", Children);
const Comparison s_cloneChildren = Growth("clone", Clone, "children", Children);
const Comparison s_dropChildren = Growth("drop", Drop, "children", Children);

}  // namespace

}  // namespace zel::bench
