#pragma once

#include "zel/data/DataTree.h"

#include <unordered_map>

namespace zel {

// Hash function with a seed that differs between processes, so that a document can't be crafted to
// contain colliding names.
class NameHash {
public:
    std::size_t operator()(std::string_view name) const noexcept;
};

// Positions of the children by name. Removing a child leaves a null pointer in the list of
// children, so that other positions remain valid and removal takes constant time. The keys refer to
// the names of the children, which never change and outlive the entry.
class DataTree::Index {
public:
    explicit Index(const Children& children);

    // Returns the number of distinct names.
    std::size_t GetCount() const noexcept { return m_runs.size(); }

    // Returns the position of the first child of that name, or NONE.
    std::size_t Find(std::string_view name) const noexcept {
        const auto found = m_runs.find(name);
        return found == m_runs.end() ? NONE : found->second.first;
    }

    // Returns the position of the first child that was not removed.
    std::size_t GetFirst() const noexcept { return m_first; }

    // Adds the child that was appended last. If this throws, the index must not be used any more.
    void Append(const DataTree& child);

    // Removes the first child of that name, which is still in the list.
    void RemoveFirst(const Children& children, std::string_view name) noexcept;

    // Returns whether most of the pointers in the list of children are null.
    bool IsSparse() const noexcept { return 2 * m_removed >= m_next.size(); }

private:
    // Positions of the first and the last child of one name.
    struct Run {
        std::size_t first;
        std::size_t last;
    };

    std::unordered_map<std::string_view, Run, NameHash> m_runs;
    // The position of the next child of the same name for each child, or NONE.
    std::vector<std::size_t> m_next;
    std::size_t m_first = 0;
    std::size_t m_removed = 0;
};

}  // namespace zel
