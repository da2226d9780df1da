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

// Up to so many children are compared one by one: quicker than an index, and none has to be made.
constexpr std::size_t MOST_WITHOUT_INDEX = 8;

// Nodes that have lost their last pointer wait here for their destruction, one after the other, so
// that a deep tree doesn't need a deep stack to go.
struct DeadNodes {
    DataTree* first = nullptr;
    bool isDestroying = false;
};

constinit thread_local DeadNodes t_deadNodes;

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
    DeadNodes& dead = t_deadNodes;
    ReleaseChildren(dead.first);
    if (dead.isDestroying) {
        return;
    }
    dead.isDestroying = true;
    while (dead.first != nullptr) {
        delete std::exchange(dead.first, dead.first->m_nextDead);
    }
    dead.isDestroying = false;
}

// Puts the children that nobody else holds on the pile of the dead, the last one first, so that the
// first child is the first to be destroyed.
void DataTree::ReleaseChildren(DataTree*& pile) noexcept {
    RCBatch::ReleaseAll(m_children.rbegin(), m_children.rend(), [&pile](DataTree* dead) {
        if (dead->m_parent.IsExpired()) {
            dead->m_parent = nullptr;
        }
        dead->m_nextDead = std::exchange(pile, dead);
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
    for (const RCPtr<DataTree>& child : m_children) {
        count += Find(child->m_name) == child.Get() ? 1 : 0;
    }
    return count;
}

bool DataTree::HasChild(const std::string& name) const {
    return Find(name) != nullptr;
}

RCPtr<DataTree> DataTree::GetChild(const std::string& name) const {
    return Find(name);
}

void DataTree::GetChildren(const std::string& name, std::list<RCPtr<DataTree>>* children) const {
    std::list<RCPtr<DataTree>> found;
    RCBatch::CopyIf(m_children, found,
                    [&name](const RCPtr<DataTree>& child) { return child->m_name == name; });
    children->splice(children->end(), found);
}

void DataTree::GetChildren(std::list<RCPtr<DataTree>>* children) const {
    std::list<RCPtr<DataTree>> all;
    RCBatch::Copy(m_children, all);
    children->swap(all);
}

bool DataTree::GetChildValue(const std::string& name, std::string* value) const {
    const DataTree* const child = Find(name);
    if (child == nullptr) {
        return false;
    }
    *value = child->m_value;
    return true;
}

std::string DataTree::GetChildValue(const std::string& name) const {
    const DataTree* const child = Find(name);
    if (child == nullptr) {
        Throw<DataTreeEx>(s_log, "Node ", name, " not found");
    }
    return child->m_value;
}

void DataTree::SetChildValue(const std::string& name, const std::string& value) {
    if (DataTree* const child = Find(name)) {
        child->m_value = value;
        return;
    }
    AppendChild(new DataTree(name, value));
}

void DataTree::AppendChild(RCPtr<DataTree> child) {
    assert(!child->IsAtOrBelow(this) && "a node can't stand below itself");
    DataTree* const node = child.Get();
    m_children.push_back(std::move(child));
    if (Index* const index = m_index.load(std::memory_order_relaxed)) {
        try {
            index->Add(node);
        } catch (...) {
            m_children.pop_back();
            throw;
        }
    }
    node->m_parent = WeakPtr<DataTree>(this);
}

bool DataTree::DeleteChild(const std::string& name) {
    DataTree* const child = Find(name);
    if (child == nullptr) {
        return false;
    }
    const RCPtr<DataTree> removed = Detach(child);
    return true;
}

// Takes the earliest child of a name out of the list; the next one of the name takes its place in
// the index.
RCPtr<DataTree> DataTree::Detach(DataTree* child) noexcept {
    const auto place = std::find(m_children.begin(), m_children.end(), child);
    RCPtr<DataTree> detached = std::move(*place);
    const auto behind = static_cast<std::size_t>(m_children.erase(place) - m_children.begin());
    if (Index* const index = m_index.load(std::memory_order_relaxed)) {
        index->Replace(child, FindFrom(behind, child->m_name));
    }
    return detached;
}

RCPtr<DataTree> DataTree::GetParentNode() const {
    return m_parent.GetRCPtr();
}

RCPtr<DataTree> DataTree::Clone() const {
    RCPtr<DataTree> clone = RCPtr<DataTree>::FromUnshared(new DataTree(m_name, m_value));
    std::vector<std::pair<const DataTree*, DataTree*>> open{{this, clone.Get()}};
    while (!open.empty()) {
        const auto [source, copy] = open.back();
        open.pop_back();
        copy->m_children.reserve(source->m_children.size());
        for (const RCPtr<DataTree>& child : source->m_children) {
            DataTree* const childCopy = copy->AppendUnshared();
            childCopy->m_name = child->m_name;
            childCopy->m_value = child->m_value;
            if (!child->m_children.empty()) {
                open.emplace_back(child.Get(), childCopy);
            }
        }
    }
    return clone;
}

// Appends a child, whose texts are still to come, to a node that no other thread can know yet.
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

DataTree* DataTree::Find(std::string_view name) const noexcept {
    const Index* const index = GetIndex();
    return index != nullptr ? index->Find(name) : FindFrom(0, name);
}

DataTree* DataTree::FindFrom(std::size_t position, std::string_view name) const noexcept {
    for (; position < m_children.size(); ++position) {
        if (m_children[position]->m_name == name) {
            return m_children[position].Get();
        }
    }
    return nullptr;
}

// Threads that look things up at once may each make an index; the first to publish its own wins.
// Null if the children are few, or if memory is too short for an index.
DataTree::Index* DataTree::GetIndex() const noexcept {
    Index* index = m_index.load(std::memory_order_acquire);
    if (index != nullptr || m_children.size() <= MOST_WITHOUT_INDEX) {
        return index;
    }
    try {
        auto made = std::make_unique<Index>(m_children);
        if (m_index.compare_exchange_strong(index, made.get(), std::memory_order_acq_rel,
                                            std::memory_order_acquire)) {
            index = made.release();
        }
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return index;
}

bool DataTree::Contains(const DataTree* child) const {
    return std::find(m_children.begin(), m_children.end(), child) != m_children.end();
}

bool DataTree::IsAtOrBelow(const DataTree* node) const {
    if (node == this || m_children.empty()) {
        return node == this;
    }
    // A removed child keeps its link, so a link only counts where the parent has the child.
    RCPtr<DataTree> above = node->GetParentNode();
    while (above && above != this && above->Contains(node)) {
        node = above.Get();
        above = above->GetParentNode();
    }
    return above == this && above->Contains(node);
}

}  // namespace zel
