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

// Maps each name to its first child. The keys refer to the names of the children, which never
// change and outlive the entry, as a child is removed from the index first.
class DataTree::Index {
public:
    explicit Index(const Children& children) : m_children(2 * children.size()) {
        for (const RCPtr<DataTree>& child : children) {
            Add(child.Get());
        }
    }

    std::size_t GetCount() const noexcept { return m_children.size(); }

    DataTree* Find(std::string_view name) const noexcept {
        const auto found = m_children.find(name);
        return found == m_children.end() ? nullptr : found->second;
    }

    // Adds a child unless there is an earlier one of its name.
    void Add(DataTree* child) { m_children.emplace(child->m_name, child); }

    // Replaces a child by the next one of the same name, or removes the entry if `next` is null.
    void Replace(const DataTree* child, DataTree* next) noexcept {
        auto entry = m_children.extract(child->m_name);
        if (next != nullptr) {
            entry.key() = next->m_name;
            entry.mapped() = next;
            m_children.insert(std::move(entry));
        }
    }

private:
    std::unordered_map<std::string_view, DataTree*, NameHash> m_children;
};

}  // namespace zel
