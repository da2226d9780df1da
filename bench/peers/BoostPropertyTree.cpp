#include "bench/data/DocumentBench.h"

#include <boost/property_tree/info_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <sstream>

namespace zel::bench {

namespace {

struct PropertyTree {
    using Tree = boost::property_tree::ptree;

    static inline const Syntax SYNTAX{"", "%n\n{\n", "%n \"%v\"\n", "", "}\n", ""};

    static Tree Read(const std::string& text) {
        std::istringstream in(text);
        Tree tree;
        boost::property_tree::read_info(in, tree);
        return tree;
    }

    static Tree Clone(const Tree& tree) { return tree; }

    // Excludes the tree's unnamed root, which is not part of the document.
    static std::size_t CountNodes(const Tree& tree) {
        std::size_t nodes = 0;
        for (const auto& [name, child] : tree) {
            nodes += 1 + CountNodes(child);
        }
        return nodes;
    }
};

using namespace Documents;

constexpr const char* NAME = "Boost property_tree";

const Comparison s_readSmall(READ_SMALL, {{NAME, ReadAndDrop<PropertyTree, SMALL>, 0.25}});
const Comparison s_readLarge(READ_LARGE, {{NAME, ReadAndDrop<PropertyTree, LARGE>, 0.5}});
const Comparison s_cloneSmall(CLONE_SMALL, {{NAME, CloneAndDrop<PropertyTree, SMALL>, 0.85}});
const Comparison s_cloneLarge(CLONE_LARGE, {{NAME, CloneAndDrop<PropertyTree, LARGE>, 0.85}});
const Comparison s_heapSmall(HEAP_SMALL, {{NAME, MeasureHeap<PropertyTree, SMALL>}});
const Comparison s_heapLarge(HEAP_LARGE, {{NAME, MeasureHeap<PropertyTree, LARGE>}});

}  // namespace

}  // namespace zel::bench
