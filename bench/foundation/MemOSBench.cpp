#include "zel/foundation/MemOS.h"

#include "bench/support/Comparison.h"
#include "bench/support/Heap.h"

#include <array>
#include <sstream>

namespace zel::bench {

namespace {

std::string_view TextOf(MemOS& stream) {
    return stream.GetText();
}

std::string_view TextOf(std::ostringstream& stream) {
    return stream.view();
}

template <class Stream>
void Empty(benchmark::State& state) {
    for (auto _ : state) {
        Stream stream;
        benchmark::DoNotOptimize(stream);
    }
}

struct Message {
    template <class Out>
    void operator()(Out& out) const {
        out << "Channel " << numbers[0] << " gave " << numbers[1] << " values in " << numbers[2]
            << " ms, " << numbers[3] << " were bad.";
    }

    std::array<int, 4> numbers{17, 2048, 125, 3};
};

struct Doubles {
    template <class Out>
    void operator()(Out& out) const {
        out << numbers[0] << ' ' << numbers[1] << ' ' << numbers[2] << ' ' << numbers[3];
    }

    std::array<double, 4> numbers{21.5, 1013.25, -0.125, 6.02214e23};
};

struct Chunks {
    void operator()(std::ostream& out) const {
        for (std::size_t length = 0; length < 512; length += chunk.size()) {
            out << chunk;
        }
    }

    std::string_view chunk = "16 more of those";
};

// Writes a `Text` to a new stream through a reference of type `Out`.
template <class Stream, class Out, class Text>
void Write(benchmark::State& state) {
    Text text;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        Stream stream;
        Out& out = stream;
        text(out);
        benchmark::DoNotOptimize(TextOf(stream).data());
    }
}

template <class Stream>
void CountBlocks(benchmark::State& state) {
    const std::size_t before = GetHeapBlocks();
    Write<Stream, std::ostream, Chunks>(state);
    state.counters["new/text"] = benchmark::Counter(static_cast<double>(GetHeapBlocks() - before),
                                                    benchmark::Counter::kAvgIterations);
}

const Comparison s_empty("empty text stream",
                         {{Side::OURS, Empty<MemOS>},
                          {"std::stringstream", Empty<std::stringstream>, 0.8}});

const Comparison s_stream("50 characters by std::ostream's <<",
                          {{Side::OURS, Write<MemOS, std::ostream, Message>},
                           {"std::ostringstream", Write<std::ostringstream, std::ostream, Message>,
                            0.9}});

const Comparison s_own("50 characters by MemOS's <<",
                       {{Side::OURS, Write<MemOS, MemOS, Message>},
                        {"std::ostringstream", Write<std::ostringstream, std::ostream, Message>,
                         0.7}});

const Comparison s_doubles("4 doubles by MemOS's <<",
                           {{Side::OURS, Write<MemOS, MemOS, Doubles>},
                            {"std::ostringstream", Write<std::ostringstream, std::ostream, Doubles>,
                             0.35}});

const Comparison s_blocks("heap blocks for 512 characters",
                          {{Side::OURS, CountBlocks<MemOS>},
                           {"std::ostringstream", CountBlocks<std::ostringstream>, 0.0}});

}  // namespace

}  // namespace zel::bench
