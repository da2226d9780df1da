#pragma once

#include "zel/core/Exception.h"
#include "zel/core/WeakPtr.h"
#include "zel/data/ValueTextImp.h"
#include "zel/foundation/Export.h"

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <list>
#include <ranges>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// Thrown for a missing node, for a value of another type, for a file that can't be read or
/// written, and for a malformed document. For a malformed document `GetInfo` returns the position
/// of the error, such as "line 7, column 3". For a missing node it returns the node that lacks it,
/// and for a value its node, with the line if it was read from a text, such as "line 7, node
/// station/logger". The path precedes it if `DataTree::Load` read the document.
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
///     std::string name = settings->GetChildValue("name");
///     int interval = settings->GetChildValueOr({"logger", "interval"}, 60);
///     for (const RCPtr<DataTree>& child : *settings) { ... }
///
/// Functions that take a name as `std::string` also take a `std::string_view`.
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
    /// Forward iterator over the children of a node.
    class ChildIterator;

    /// Names of nodes, each a child of the one before, relative to the node that is asked.
    using Path = std::initializer_list<std::string_view>;

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
    ///@{
    bool HasChild(const std::string& name) const;
    bool HasChild(std::same_as<std::string_view> auto name) const {
        return FindChild(name) != nullptr;
    }
    ///@}

    /// Returns the first child of that name, or null.
    ///@{
    RCPtr<DataTree> GetChild(const std::string& name) const;
    RCPtr<DataTree> GetChild(std::same_as<std::string_view> auto name) const {
        return FindChild(name);
    }
    ///@}

    /// Returns the node at the end of a path, or null. Of several children of one name it follows
    /// the first. An empty path returns this node. The second form takes any range of names.
    ///@{
    RCPtr<DataTree> Find(Path path) const { return FindNode(path); }
    template <std::ranges::input_range Names>
    requires std::convertible_to<std::ranges::range_reference_t<Names>, std::string_view>
        RCPtr<DataTree> Find(const Names& names)
    const { return FindNode(names); }
    ///@}

    /// Returns iterators over all children, in order, for a range-based `for`.
    /// Requires: while they are in use, no child is appended or deleted, and a pointer holds this
    /// node. In a loop over what `Load` returns none does: store the pointer first.
    ///@{
    ChildIterator begin() const noexcept;
    ChildIterator end() const noexcept;
    ///@}

    /// Appends all children of that name to `children`, in order.
    ///@{
    void GetChildren(const std::string& name, std::list<RCPtr<DataTree>>* children) const;
    void GetChildren(std::same_as<std::string_view> auto name,
                     std::list<RCPtr<DataTree>>* children) const {
        GetChildren(std::string(name), children);
    }
    ///@}

    /// Replaces the content of `children` with all children, in order.
    void GetChildren(std::list<RCPtr<DataTree>>* children) const;

    /// Copies the value of the first child of that name to `*value`. Returns false and leaves
    /// `*value` unchanged if there is no such child.
    ///@{
    bool GetChildValue(const std::string& name, std::string* value) const;
    bool GetChildValue(std::same_as<std::string_view> auto name, std::string* value) const {
        return GetChildValue(std::string(name), value);
    }
    ///@}

    /// Returns the value of the first child of that name. Throws `DataTreeEx` if there is none.
    ///@{
    std::string GetChildValue(const std::string& name) const;
    std::string GetChildValue(std::same_as<std::string_view> auto name) const {
        return RequireChild(name).GetValue();
    }
    ///@}

    /// Returns the value of this node, of the first child of that name, or of the node at the end
    /// of a path, as a T. Throws `DataTreeEx` if there is no such node or its value isn't a T.
    ///
    /// | T | Values |
    /// |---|---|
    /// | integer type | decimal, or hexadecimal after `0x`, in the range of T |
    /// | `float`, `double` | decimal, `inf`, `nan` |
    /// | `bool` | `true`, `false`, `1`, `0` |
    /// | `std::string` | any |
    ///@{
    template <class T>
    T GetValueAs() const {
        T value{};
        if (!Imp::ReadValue(m_value, value)) {
            ThrowWrongValue(Imp::DescribeValues<T>());
        }
        return value;
    }
    template <class T>
    T GetChildValueAs(std::string_view name) const {
        return RequireChild(name).GetValueAs<T>();
    }
    template <class T>
    T GetChildValueAs(Path path) const {
        const DataTree* node = this;
        for (const std::string_view name : path) {
            node = &node->RequireChild(name);
        }
        return node->GetValueAs<T>();
    }
    ///@}

    /// Returns the same value, or `defaultValue` if there is no such node. The result has the type
    /// of `defaultValue`, or `std::string` for any text. Throws `DataTreeEx` if the node has a
    /// value that isn't of this type.
    ///@{
    template <class T>
    Imp::ValueOf<T> GetChildValueOr(std::string_view name, const T& defaultValue) const {
        return ValueOr(FindChild(name), defaultValue);
    }
    template <class T>
    Imp::ValueOf<T> GetChildValueOr(Path path, const T& defaultValue) const {
        return ValueOr(FindNode(path), defaultValue);
    }
    ///@}

    /// Sets the value of the first child of that name, or appends a new child.
    ///@{
    void SetChildValue(const std::string& name, const std::string& value);
    void SetChildValue(std::same_as<std::string_view> auto name, const std::string& value) {
        SetChildValue(std::string(name), value);
    }
    ///@}

    /// Appends a child and makes this node its parent. If the child already has another parent, it
    /// remains a child of that node as well.
    /// Requires: the child is neither null, nor this node, nor an ancestor of it (asserted in debug
    /// builds).
    void AppendChild(RCPtr<DataTree> child);

    /// Removes the first child of that name. Returns false if there is none. The parent of the
    /// removed node remains set.
    ///@{
    bool DeleteChild(const std::string& name);
    bool DeleteChild(std::same_as<std::string_view> auto name) {
        return DeleteChild(std::string(name));
    }
    ///@}

    /// Returns the node to which this node was last appended, or null if there is none or it has
    /// been deleted.
    RCPtr<DataTree> GetParentNode() const;

    /// Returns the line, from 1, on which this node begins in the text it was read from, relative
    /// to where reading started; 0 if it was created otherwise. A clone has the same line.
    std::size_t GetLine() const noexcept { return m_line; }

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
    static RCPtr<DataTree> FromString(std::same_as<std::string_view> auto text) {
        return FromText(text);
    }
    ///@}

    /// Reads a document from a file. Throws `DataTreeEx` if the file can't be opened, is a
    /// directory, or is malformed.
    ///@{
    static RCPtr<DataTree> Load(const char* path);
    static RCPtr<DataTree> Load(const std::string& path) { return Load(path.c_str()); }
    ///@}

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

    static RCPtr<DataTree> FromText(std::string_view text);

    template <class Names>
    DataTree* FindNode(const Names& names) const {
        // Only an empty path makes this node modifiable, as GetChild does its children.
        auto* node = const_cast<DataTree*>(this);
        for (auto name = std::begin(names); node != nullptr && name != std::end(names); ++name) {
            node = node->FindChild(*name);
        }
        return node;
    }

    template <class T>
    static Imp::ValueOf<T> ValueOr(const DataTree* node, const T& defaultValue) {
        return node == nullptr ? Imp::ValueOf<T>(defaultValue)
                               : node->GetValueAs<Imp::ValueOf<T>>();
    }

    DataTree* FindChild(std::string_view name) const noexcept;
    const DataTree& RequireChild(std::string_view name) const;
    [[noreturn]] void ThrowWrongValue(const std::string& values) const;
    std::string DescribePlace() const;
    std::size_t FindPosition(std::string_view name) const noexcept;
    Index* GetIndex() const noexcept;
    RCPtr<DataTree> Detach(std::size_t position) noexcept;
    void DropIndex() noexcept;
    DataTree* AppendUnshared();
    bool Contains(const DataTree* child) const;
    bool IsAncestorOfOrSame(const DataTree* node) const;
    void ReleaseChildren(DataTree*& deferred) noexcept;

    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    // The first member, as it fits into the padding of the base class.
    std::uint32_t m_line = 0;
    std::string m_name;
    std::string m_value;
    // While there is an index, removed children are null pointers.
    Children m_children;
    // Created when a node of many children is first searched.
    mutable std::atomic<Index*> m_index{nullptr};
    WeakPtr<DataTree> m_parent;
    DataTree* m_nextDeferred = nullptr;
};

/// A standard forward iterator. Its element is a pointer that is never null.
class DataTree::ChildIterator {
public:
    /// The types of a standard iterator.
    ///@{
    using iterator_category = std::forward_iterator_tag;
    using value_type = RCPtr<DataTree>;
    using difference_type = std::ptrdiff_t;
    using pointer = const value_type*;
    using reference = const value_type&;
    ///@}

    /// Creates an iterator that only equals another one created so.
    ChildIterator() noexcept = default;

    /// Returns the pointer to the child.
    ///@{
    reference operator*() const noexcept { return *m_next; }
    pointer operator->() const noexcept { return m_next; }
    ///@}

    /// Advances to the next child.
    ///@{
    ChildIterator& operator++() noexcept {
        ++m_next;
        SkipRemoved();
        return *this;
    }
    ChildIterator operator++(int) noexcept {
        ChildIterator before = *this;
        ++*this;
        return before;
    }
    ///@}

    /// Compares positions in the list of children.
    bool operator==(const ChildIterator& other) const noexcept = default;

private:
    friend class DataTree;

    ChildIterator(pointer next, pointer end) noexcept : m_next(next), m_end(end) { SkipRemoved(); }

    void SkipRemoved() noexcept {
        while (m_next != m_end && !*m_next) {
            ++m_next;
        }
    }

    pointer m_next = nullptr;
    pointer m_end = nullptr;
};

inline DataTree::ChildIterator DataTree::end() const noexcept {
    const auto* const end = m_children.data() + m_children.size();
    return {end, end};
}

}  // namespace zel
