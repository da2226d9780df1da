#include "bench/data/DocumentBench.h"

#include <libxml/parser.h>
#include <memory>

namespace zel::bench {

namespace {

struct Free {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};

struct Xml {
    using Tree = std::unique_ptr<xmlDoc, Free>;

    static inline const Syntax SYNTAX{"", "<%n>", "<%n>%v</%n>", "", "</%n>", ""};

    static Tree Read(const std::string& text) {
        // Stores short texts in their nodes: the fastest and most compact mode.
        return Tree(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                  XML_PARSE_COMPACT));
    }

    static std::size_t CountNodes(const Tree& tree) {
        return CountElements(xmlDocGetRootElement(tree.get()));
    }

private:
    static std::size_t CountElements(const xmlNode* node) {
        std::size_t nodes = 0;
        for (; node != nullptr; node = node->next) {
            nodes += node->type == XML_ELEMENT_NODE ? 1 + CountElements(node->children) : 0;
        }
        return nodes;
    }
};

using namespace Documents;

constexpr const char* NAME = "libxml2";

const Comparison s_readSmall(READ_SMALL, {{NAME, ReadAndDrop<Xml, SMALL>, 0.5}});
const Comparison s_readLarge(READ_LARGE, {{NAME, ReadAndDrop<Xml, LARGE>, 0.8}});
const Comparison s_heapSmall(HEAP_SMALL, {{NAME, MeasureHeap<Xml, SMALL>}});
const Comparison s_heapLarge(HEAP_LARGE, {{NAME, MeasureHeap<Xml, LARGE>}});

}  // namespace

}  // namespace zel::bench
