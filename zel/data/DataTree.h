#pragma once

#include "zel/core/Exception.h"
#include "zel/core/WeakPtr.h"
#include "zel/foundation/Export.h"

#include <atomic>
#include <cstddef>
#include <iosfwd>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// Thrown for a missing node, for a file that can't be read or written, and for a malformed
/// document. In the last case `GetInfo` returns the position of the error, such as "line 7,
/// column 3", preceded by the path if `DataTree::Load` read it.
class ZEL_ADVANCED_API DataTreeEx : public Exception {
public:
    /// See `Exception::Exception`.
    DataTreeEx(const std::string& message, const std::string& file, int line,
               const std::string& info = {});
};

/// A node of a tree document: a name, a text value and an ordered list of named children. Nodes are
/// created by `new` and owned by `RCPtr`; the destructor is protected, so that local variables
/// don't compile. A document is represented by its root node. Names may be empty and may repeat;
/// they are compared byte by byte.
///
///     RCPtr<DataTree> settings = DataTree::Load("station.tree");
///     std::string interval = "60";
///     settings->GetChildValue("interval", &interval);  // keeps "60" if there is no such child
///
/// A node owns its children and has a weak pointer to its parent. Depth and number of children are
/// limited only by memory. Releasing the last pointer to a node deletes the node and all
/// descendants that nothing else references, parents before children.
///
/// Thread-compatible: const calls may run concurrently.
///
/// Guide: docs/tree-format.md
class ZEL_ADVANCED_API DataTree : public RCObject {
public:
    /// Creates a node without parent and children. The name can't be changed later.
    DataTree(std::string name, std::string value);
    DataTree(const DataTree&) = delete;
    DataTree& operator=(const DataTree&) = delete;

    /// Returns a clone of this node. Assigns nothing and ignores `other`.
    /// @deprecated use `Clone`
    [[deprecated("assigns nothing; call Clone")]] RCPtr<DataTree> operator=(RCPtr<DataTree> other);

    /// Returns the name of this node.
    std::string GetName() const;

    /// Returns the value of this node.
    std::string GetValue() const;

    /// Sets the value of this node. The text form can't represent the value of a node that has
    /// children, nor the value of the root node.
    void SetValue(const std::string& value);

    /// Returns the number of distinct names among the children.
    std::size_t GetChildCount() const;

    /// Returns whether there is a child of that name.
    bool HasChild(const std::string& name) const;

    /// Returns the first child of that name, or null.
    RCPtr<DataTree> GetChild(const std::string& name) const;

    /// Appends all children of that name to `children`, in order.
    void GetChildren(const std::string& name, std::list<RCPtr<DataTree>>* children) const;

    /// Replaces the content of `children` with all children, in order.
    void GetChildren(std::list<RCPtr<DataTree>>* children) const;

    /// Copies the value of the first child of that name to `*value`. Returns false and leaves
    /// `*value` unchanged if there is no such child.
    bool GetChildValue(const std::string& name, std::string* value) const;

    /// Returns the value of the first child of that name. Throws `DataTreeEx` if there is none.
    std::string GetChildValue(const std::string& name) const;

    /// Sets the value of the first child of that name, or appends a new child.
    void SetChildValue(const std::string& name, const std::string& value);

    /// Appends a child and makes this node its parent. If the child already has another parent, it
    /// remains a child of that node as well.
    /// Requires: the child is neither null, nor this node, nor an ancestor of it (asserted in debug
    /// builds).
    void AppendChild(RCPtr<DataTree> child);

    /// Removes the first child of that name. Returns false if there is none. The parent of the
    /// removed node remains set.
    bool DeleteChild(const std::string& name);

    /// Returns the node to which this node was last appended, or null if there is none or it has
    /// been deleted.
    RCPtr<DataTree> GetParentNode() const;

    /// Returns a deep copy without a parent.
    RCPtr<DataTree> Clone() const;

    /// Writes the text form of this node and its descendants, indented by three spaces per level
    /// starting at `level`, or without any white space if `level` is -1. Failures are reported by
    /// the state of the stream only.
    void WriteTo(std::ostream& out, int level) const;

    /// Returns the text form at level 0. The values of nodes with children are lost when the text
    /// is read back. The text of a node that has a value and no children can't be read back as a
    /// document.
    std::string ToString() const;

    /// Reads a document to the end of the input and returns its root, which is never null. Throws
    /// `DataTreeEx` if the document is malformed; the stream is then positioned where the error was
    /// detected.
    ///@{
    static RCPtr<DataTree> ReadFrom(std::istream& in);
    static RCPtr<DataTree> FromString(const std::string& text);
    ///@}

    /// Reads a document from a file. Throws `DataTreeEx` if the file can't be opened, is a
    /// directory, or is malformed.
    static RCPtr<DataTree> Load(const char* path);

    /// Writes the text form at level 0 to a file. The text is written to a temporary file in the
    /// same directory, which replaces the old file once it is stored on the disk. Throws
    /// `DataTreeEx` with path and reason on failure; the old file is then unchanged. The limits of
    /// `ToString` apply.
    void Save(const std::string& path) const;

protected:
    ~DataTree() override;

private:
    class Index;
    friend class DataTreeReader;
    friend class DataTreeWriter;

    using Children = std::vector<RCPtr<DataTree>>;

    DataTree() = default;

    DataTree* Find(std::string_view name) const noexcept;
    std::size_t FindPosition(std::string_view name) const noexcept;
    Index* GetIndex() const noexcept;
    RCPtr<DataTree> Detach(std::size_t position) noexcept;
    void DropIndex() noexcept;
    DataTree* AppendUnshared();
    bool Contains(const DataTree* child) const;
    bool IsAncestorOfOrSame(const DataTree* node) const;
    void ReleaseChildren(DataTree*& deferred) noexcept;

    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    std::string m_name;
    std::string m_value;
    // While there is an index, removed children are null pointers.
    Children m_children;
    // Created when a node of many children is first searched.
    mutable std::atomic<Index*> m_index{nullptr};
    WeakPtr<DataTree> m_parent;
    DataTree* m_nextDeferred = nullptr;
};

}  // namespace zel
