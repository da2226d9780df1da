#include "zel/data/DataTree.h"

#include "zel/core/RCBatch.h"
#include "zel/data/DataTreeIndex.h"
#include "zel/foundation/Log.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <utility>

namespace zel {

namespace {

const LogArea s_log("DataTree", 3);

// A linear search is faster than an index up to this number of children.
constexpr std::size_t MAX_CHILDREN_WITHOUT_INDEX = 16;

// Deferred-deletion list of a tree: nodes whose reference count reached zero are deleted
// iteratively, so that destroying a deep tree needs constant stack.
struct DeferredDeletions {
    DataTree* first = nullptr;
    const DataTree* current = nullptr;
};

// List of the innermost tree that this thread is deleting, or null. A node's destructor may drop
// another tree, which is deleted as a whole before the destructor returns.
constinit thread_local DeferredDeletions* t_deletions = nullptr;

}  // namespace

DataTreeEx::DataTreeEx(const std::string& message, const std::string& file, int line,
                       const std::string& info)
    : Exception("DataTreeEx", message, file, line, info) {}

DataTree::DataTree(std::string name, std::string value)
    : m_name(std::move(name)), m_value(std::move(value)) {}

DataTree::~DataTree() {
    m_parent = WeakPtr<DataTree>();
    delete m_index.load(std::memory_order_relaxed);
    if (m_children.empty()) {
        return;
    }
    if (t_deletions != nullptr && t_deletions->current == this) {
        ReleaseChildren(t_deletions->first);
        return;
    }
    DeferredDeletions deletions;
    ReleaseChildren(deletions.first);
    DeferredDeletions* const outer = std::exchange(t_deletions, &deletions);
    while (deletions.first != nullptr) {
        DataTree* const node = std::exchange(deletions.first, deletions.first->m_nextDeferred);
        deletions.current = node;
        delete node;
    }
    t_deletions = outer;
}

// Prepends the unreferenced children to the deferred-deletion list in reverse order, so that the
// first child is deleted first.
void DataTree::ReleaseChildren(DataTree*& deferred) noexcept {
    RCBatch::ReleaseAll(m_children.rbegin(), m_children.rend(), [&deferred](DataTree* child) {
        if (child->m_parent.IsExpired()) {
            child->m_parent = nullptr;
        }
        child->m_nextDeferred = std::exchange(deferred, child);
    });
}

RCPtr<DataTree> DataTree::operator=(RCPtr<DataTree>) {
    return Clone();
}

std::string DataTree::GetName() const {
    return m_name;
}

std::string DataTree::GetValue() const {
    return m_value;
}

void DataTree::SetValue(const std::string& value) {
    m_value = value;
}

std::size_t DataTree::GetChildCount() const {
    if (const Index* const index = GetIndex()) {
        return index->GetCount();
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < m_children.size(); ++i) {
        count += FindPosition(m_children[i]->m_name) == i ? 1 : 0;
    }
    return count;
}

// Starts after the children that were removed from the front of the list, so that a loop that
// deletes the first child takes linear time.
DataTree::ChildIterator DataTree::begin() const noexcept {
    const Index* const index = m_index.load(std::memory_order_acquire);
    const auto* const children = m_children.data();
    return {children + (index == nullptr ? 0 : index->GetFirst()), children + m_children.size()};
}

bool DataTree::HasChild(const std::string& name) const {
    return FindChild(name) != nullptr;
}

RCPtr<DataTree> DataTree::GetChild(const std::string& name) const {
    return FindChild(name);
}

void DataTree::GetChildren(const std::string& name, std::list<RCPtr<DataTree>>* children) const {
    std::list<RCPtr<DataTree>> found;
    RCBatch::CopyIf(m_children, found, [&name](const RCPtr<DataTree>& child) {
        return child && child->m_name == name;
    });
    children->splice(children->end(), found);
}

void DataTree::GetChildren(std::list<RCPtr<DataTree>>* children) const {
    std::list<RCPtr<DataTree>> all;
    RCBatch::CopyIf(m_children, all, [](const RCPtr<DataTree>& child) { return bool(child); });
    children->swap(all);
}

bool DataTree::GetChildValue(const std::string& name, std::string* value) const {
    const DataTree* const child = FindChild(name);
    if (child == nullptr) {
        return false;
    }
    *value = child->m_value;
    return true;
}

std::string DataTree::GetChildValue(const std::string& name) const {
    return RequireChild(name).m_value;
}

void DataTree::SetChildValue(const std::string& name, const std::string& value) {
    if (DataTree* const child = FindChild(name)) {
        child->m_value = value;
        return;
    }
    AppendChild(new DataTree(name, value));
}

void DataTree::AppendChild(RCPtr<DataTree> child) {
    assert(!child->IsAncestorOfOrSame(this) && "a node can't be its own descendant");
    DataTree* const node = child.Get();
    m_children.push_back(std::move(child));
    if (Index* const index = m_index.load(std::memory_order_relaxed)) {
        try {
            index->Append(*node);
        } catch (const std::bad_alloc&) {
            DropIndex();
        }
    }
    node->m_parent = WeakPtr<DataTree>(this);
}

bool DataTree::DeleteChild(const std::string& name) {
    const std::size_t position = FindPosition(name);
    if (position == NONE) {
        return false;
    }
    const RCPtr<DataTree> removed = Detach(position);
    return true;
}

// Removes the first child of its name.
RCPtr<DataTree> DataTree::Detach(std::size_t position) noexcept {
    Index* const index = m_index.load(std::memory_order_relaxed);
    if (index != nullptr) {
        index->RemoveFirst(m_children, m_children[position]->m_name);
    }
    RCPtr<DataTree> detached = std::move(m_children[position]);
    if (index == nullptr || index->IsSparse()) {
        DropIndex();
    }
    return detached;
}

// Deletes the index and removes the null pointers it has left in the list.
void DataTree::DropIndex() noexcept {
    std::erase(m_children, nullptr);
    delete m_index.exchange(nullptr, std::memory_order_relaxed);
}

RCPtr<DataTree> DataTree::GetParentNode() const {
    return m_parent.GetRCPtr();
}

RCPtr<DataTree> DataTree::Clone() const {
    RCPtr<DataTree> clone = RCPtr<DataTree>::FromUnshared(new DataTree(m_name, m_value));
    clone->m_line = m_line;
    std::vector<std::pair<const DataTree*, DataTree*>> open{{this, clone.Get()}};
    while (!open.empty()) {
        const auto [source, copy] = open.back();
        open.pop_back();
        copy->m_children.reserve(source->m_children.size());
        for (const RCPtr<DataTree>& child : source->m_children) {
            if (!child) {
                continue;
            }
            DataTree* const childCopy = copy->AppendUnshared();
            childCopy->m_line = child->m_line;
            childCopy->m_name = child->m_name;
            childCopy->m_value = child->m_value;
            if (!child->m_children.empty()) {
                open.emplace_back(child.Get(), childCopy);
            }
        }
    }
    return clone;
}

// Appends a child with empty name and value. Requires: no other thread has access to this node.
DataTree* DataTree::AppendUnshared() {
    constexpr std::size_t firstCapacity = 4;
    if (m_children.capacity() == 0) {
        m_children.reserve(firstCapacity);
    }
    DataTree* const child = new DataTree;
    m_children.push_back(RCPtr<DataTree>::FromUnshared(child));
    child->m_parent = WeakPtr<DataTree>::FromUnshared(this);
    return child;
}

DataTree* DataTree::FindChild(std::string_view name) const noexcept {
    const std::size_t position = FindPosition(name);
    return position == NONE ? nullptr : m_children[position].Get();
}

// Returns the position of the first child of that name, or NONE.
std::size_t DataTree::FindPosition(std::string_view name) const noexcept {
    if (const Index* const index = GetIndex()) {
        return index->Find(name);
    }
    // Without an index there are no null pointers in the list.
    for (std::size_t i = 0; i < m_children.size(); ++i) {
        if (m_children[i]->m_name == name) {
            return i;
        }
    }
    return NONE;
}

// Concurrent callers may each create an index; the first one stored is kept. Returns null if there
// are few children or not enough memory.
DataTree::Index* DataTree::GetIndex() const noexcept {
    Index* index = m_index.load(std::memory_order_acquire);
    if (index != nullptr || m_children.size() <= MAX_CHILDREN_WITHOUT_INDEX) {
        return index;
    }
    try {
        auto created = std::make_unique<Index>(m_children);
        if (m_index.compare_exchange_strong(index, created.get(), std::memory_order_acq_rel,
                                            std::memory_order_acquire)) {
            index = created.release();
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return index;
}

bool DataTree::Contains(const DataTree* child) const {
    return std::find(m_children.begin(), m_children.end(), child) != m_children.end();
}

bool DataTree::IsAncestorOfOrSame(const DataTree* node) const {
    if (node == this || m_children.empty()) {
        return node == this;
    }
    // The parent of a removed node remains set: it counts only if it still has the child.
    RCPtr<DataTree> parent = node->GetParentNode();
    while (parent && parent != this && parent->Contains(node)) {
        node = parent.Get();
        parent = parent->GetParentNode();
    }
    return parent == this && parent->Contains(node);
}

}  // namespace zel
