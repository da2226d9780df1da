#pragma once

#include "zel/core/Exception.h"
#include "zel/foundation/Export.h"
#include "zel/foundation/WeakPtr.h"

#include <atomic>
#include <cstddef>
#include <iosfwd>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// Raised for a missing node and for a malformed document. GetInfo tells where a document's fault
// was noticed: "line 7, column 3", behind the path if Load read it.
class ZEL_ADVANCED_API DataTreeEx : public Exception {
public:
    DataTreeEx(const std::string& message, const std::string& file, int line,
               const std::string& info = {});
};

// One node of a tree document: a name, a text value and an ordered run of named children. A
// document is its root node. Names may be empty and may repeat; they are compared byte for byte.
//
//     RCPtr<DataTree> settings = DataTree::Load("station.tree");
//     std::string interval = "60";
//     settings->GetChildValue("interval", &interval);  // keeps "60" if there is none
//
// A node holds its children strongly and its parent weakly. There is no lock: any threads may read
// a tree that nobody changes. Depth and number of children are limited by memory alone. When the
// last pointer to a node goes, so do the children that nobody else holds.
class ZEL_ADVANCED_API DataTree : public RCObject {
public:
    // A node without parent and children.
    DataTree(std::string name, std::string value);
    ~DataTree() override;
    DataTree(const DataTree&) = delete;
    DataTree& operator=(const DataTree&) = delete;

    // Gives a clone of this node, assigns nothing and doesn't look at `other`.
    [[deprecated("assigns nothing; call Clone")]] RCPtr<DataTree> operator=(RCPtr<DataTree> other);

    // Its own, not those of a child.
    std::string GetName() const;
    std::string GetValue() const;

    // The text form has no place for the value of a node with children, nor for the value of the
    // root: both are kept here, and lost on the way through a document.
    void SetValue(const std::string& value);

    // The number of distinct names among the children.
    std::size_t GetChildCount() const;

    // Whenever a name repeats, the operations that name one child mean the earliest.
    bool HasChild(const std::string& name) const;

    // Null if there is none.
    RCPtr<DataTree> GetChild(const std::string& name) const;

    // Appends the children of that name, in order, to what the list holds.
    void GetChildren(const std::string& name, std::list<RCPtr<DataTree>>* children) const;

    // Replaces what the list holds by all children, in order.
    void GetChildren(std::list<RCPtr<DataTree>>* children) const;

    // False if there is no such child; `value` keeps its content then.
    bool GetChildValue(const std::string& name, std::string* value) const;

    // Throws DataTreeEx if there is no such child.
    std::string GetChildValue(const std::string& name) const;

    // Sets the value of that child, or appends a new one.
    void SetChildValue(const std::string& name, const std::string& value);

    // Appends a child, which isn't null, nor this node, nor one above it (asserted in debug builds,
    // as far as the parents tell). A child of another node stays there too, and takes this one for
    // its parent.
    void AppendChild(RCPtr<DataTree> child);

    // False if there is no such child. The removed one keeps its link to the parent.
    bool DeleteChild(const std::string& name);

    // The node that took this one as a child last; null if there is none or it is gone.
    RCPtr<DataTree> GetParentNode() const;

    // A deep copy, which has no parent.
    RCPtr<DataTree> Clone() const;

    // Writes the text form of this node and what is below it, indented by three spaces a level from
    // `level` on, or without any white space at level -1. The stream's state tells of a failure.
    void WriteTo(std::ostream& out, int level) const;

    // The text form at level 0. Reading it back loses the value of a node that has children; a
    // root that has a value and no children makes a text that can't be read back.
    std::string ToString() const;

    // Reads a document to the end of the input. Never null: throws DataTreeEx for a malformed one,
    // and leaves the stream where the fault was noticed.
    static RCPtr<DataTree> ReadFrom(std::istream& in);
    static RCPtr<DataTree> FromString(const std::string& text);

    // The same from a file; a path that can't be opened or is a directory is a DataTreeEx too.
    static RCPtr<DataTree> Load(const char* path);

private:
    class Index;
    friend class DataTreeReader;
    friend class DataTreeWriter;

    using Children = std::vector<RCPtr<DataTree>>;

    DataTree() = default;

    DataTree* Find(std::string_view name) const noexcept;
    DataTree* FindFrom(std::size_t position, std::string_view name) const noexcept;
    Index* GetIndex() const noexcept;
    RCPtr<DataTree> Detach(DataTree* child) noexcept;
    DataTree* AppendUnshared();
    bool Contains(const DataTree* child) const;
    bool IsAtOrBelow(const DataTree* node) const;
    void ReleaseChildren(DataTree*& pile) noexcept;

    std::string m_name;
    std::string m_value;
    Children m_children;
    // The earliest child of each name, made when a node of many children is first asked for one.
    mutable std::atomic<Index*> m_index{nullptr};
    WeakPtr<DataTree> m_parent;
    DataTree* m_nextDead = nullptr;
};

}  // namespace zel
