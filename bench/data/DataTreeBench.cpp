#include "zel/data/DataTree.h"

#include "zel/foundation/MemOS.h"

#include "bench/data/DocumentBench.h"

#include <map>

namespace zel::bench {

namespace {

struct Ours {
    using Tree = RCPtr<DataTree>;

    static inline const Syntax SYNTAX{"", "[\"%n\"", ".\"%n\"=\"%v\"", "", "]", ""};

    static Tree Read(const std::string& text) { return DataTree::FromString(text); }
    static Tree Clone(const Tree& tree) { return tree->Clone(); }
    static Tree Find(const Tree& tree, const std::string& name) { return tree->GetChild(name); }

    static std::size_t Write(const Tree& tree) {
        MemOS out;
        tree->WriteTo(out, -1);
        return static_cast<std::size_t>(out.GetLength());
    }

    static std::size_t CountNodes(const Tree& tree) {
        std::size_t nodes = 1;
        for (const Tree& child : *tree) {
            nodes += CountNodes(child);
        }
        return nodes;
    }
};

// The children of the root by name, without their order.
struct Map {
    using Tree = std::map<std::string, RCPtr<DataTree>>;

    static inline const Syntax& SYNTAX = Ours::SYNTAX;

    static Tree Read(const std::string& text) {
        Tree children;
        const RCPtr<DataTree> root = Ours::Read(text);
        for (const RCPtr<DataTree>& child : *root) {
            children[child->GetName()] = child;
        }
        return children;
    }

    static RCPtr<DataTree> Find(const Tree& children, const std::string& name) {
        const auto found = children.find(name);
        return found == children.end() ? nullptr : found->second;
    }
};

using namespace Documents;

const Comparison s_readSmall(READ_SMALL, {{Side::OURS, ReadAndDrop<Ours, SMALL>}});
const Comparison s_readLarge(READ_LARGE, {{Side::OURS, ReadAndDrop<Ours, LARGE>}});
const Comparison s_writeSmall(WRITE_SMALL, {{Side::OURS, WriteCompact<Ours, SMALL>}});
const Comparison s_writeLarge(WRITE_LARGE, {{Side::OURS, WriteCompact<Ours, LARGE>}});
const Comparison s_cloneSmall(CLONE_SMALL, {{Side::OURS, CloneAndDrop<Ours, SMALL>}});
const Comparison s_cloneLarge(CLONE_LARGE, {{Side::OURS, CloneAndDrop<Ours, LARGE>}});
const Comparison s_find(FIND, {{Side::OURS, FindChild<Ours>}});
const Comparison s_findOfTen(FIND_OF_TEN, {{Side::OURS, FindChild<Ours, 10>},
                                           {"std::map", FindChild<Map, 10>, 1.2}});
const Comparison s_heapSmall(HEAP_SMALL, {{Side::OURS, MeasureHeap<Ours, SMALL>}});
const Comparison s_heapLarge(HEAP_LARGE, {{Side::OURS, MeasureHeap<Ours, LARGE>}});

}  // namespace

}  // namespace zel::bench
