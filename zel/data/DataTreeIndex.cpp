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
    std::uint64_t word = 0;
    for (; name.size() >= sizeof word; name.remove_prefix(sizeof word)) {
        std::memcpy(&word, name.data(), sizeof word);
        state = Mix(state, word);
    }
    word = 0;
    std::memcpy(&word, name.data(), name.size());
    return static_cast<std::size_t>(Mix(state, word));
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
    const std::size_t next = m_next[entry.mapped().first];
    ++m_removed;
    if (next != NONE) {
        entry.key() = children[next]->m_name;
        entry.mapped().first = next;
        m_runs.insert(std::move(entry));
    }
}

}  // namespace zel
