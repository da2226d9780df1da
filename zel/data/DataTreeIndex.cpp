#include "zel/data/DataTreeIndex.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <utility>

namespace zel {

namespace {

constexpr std::uint64_t ODD_MULTIPLIER = 0x9E3779B97F4A7C15;

std::uint64_t Mix(std::uint64_t state, std::uint64_t word) noexcept {
    constexpr int half = 32;
    state = (state ^ word) * ODD_MULTIPLIER;
    return state ^ (state >> half);
}

template <class Word>
Word Load(const char* bytes) noexcept {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Returns a different word for each text of a size up to eight. Loads overlap, as a copy of a size
// that is known only at run time is a call.
std::uint64_t LoadRest(std::string_view text) noexcept {
    using Half = std::uint32_t;
    constexpr int bitsOfHalf = 32;
    const char* const end = text.data() + text.size();
    if (text.size() >= sizeof(Half)) {
        return std::uint64_t{Load<Half>(text.data())} << bitsOfHalf |
               Load<Half>(end - sizeof(Half));
    }
    const auto byteAt = [&](std::size_t i) { return std::uint64_t{Load<unsigned char>(&text[i])}; };
    return text.empty() ? 0
                        : byteAt(0) << 16 | byteAt(text.size() / 2) << 8 | byteAt(text.size() - 1);
}

// The author of a document knows neither the load address of the program nor its start time.
std::uint64_t MakeSeed() noexcept {
    static const char place = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return Mix(static_cast<std::uint64_t>(now), reinterpret_cast<std::uintptr_t>(&place));
}

const std::uint64_t s_seed = MakeSeed();

}  // namespace

std::size_t NameHash::operator()(std::string_view name) const noexcept {
    std::uint64_t state = Mix(s_seed, name.size());
    for (; name.size() > sizeof state; name.remove_prefix(sizeof state)) {
        state = Mix(state, Load<std::uint64_t>(name.data()));
    }
    return static_cast<std::size_t>(Mix(state, LoadRest(name)));
}

DataTree::Index::Index(const Children& children) : m_runs(2 * children.size()) {
    m_next.reserve(children.size());
    for (const RCPtr<DataTree>& child : children) {
        Append(*child);
    }
}

void DataTree::Index::Append(const DataTree& child) {
    const std::size_t position = m_next.size();
    m_next.push_back(NONE);
    const auto [run, isNew] = m_runs.try_emplace(child.m_name, Run{position, position});
    if (!isNew) {
        m_next[std::exchange(run->second.last, position)] = position;
    }
}

void DataTree::Index::RemoveFirst(const Children& children, std::string_view name) noexcept {
    auto entry = m_runs.extract(name);
    const std::size_t removed = entry.mapped().first;
    const std::size_t next = m_next[removed];
    ++m_removed;
    while (m_first < children.size() && (m_first == removed || !children[m_first])) {
        ++m_first;
    }
    if (next != NONE) {
        entry.key() = children[next]->m_name;
        entry.mapped().first = next;
        m_runs.insert(std::move(entry));
    }
}

}  // namespace zel
