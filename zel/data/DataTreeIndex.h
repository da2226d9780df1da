#pragma once

#include "zel/data/DataTree.h"

#include <unordered_map>

namespace zel {

// Hashes a name from a start that differs from process to process, so that a document can't be made
// of names that fall together.
class NameHash {
public:
    std::size_t operator()(std::string_view name) const noexcept;
};

// The earliest child of each name, by name. The keys are the children's own names, which never
// change and live as long as the entry: a child leaves the index before it leaves the list.
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

    // Enters a child unless its name has an earlier one.
    void Add(DataTree* child) { m_children.emplace(child->m_name, child); }

    // Puts the next child of the same name in a child's place, or nothing.
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
