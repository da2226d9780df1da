#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zel::bench {

// A node of a document that each side reads in its own format: a name with a value or with
// children. Names have 3 to 20 characters and are unique among siblings, values have 1 to 30, and
// no format needs to escape any of their characters.
struct Node {
    std::string name;
    std::string value;
    std::vector<Node> children;
};

// Returns a settings document of `nodes` nodes in nested sections of a few values each. The result
// is deterministic.
Node MakeSettings(std::size_t nodes);

// Returns a node with `values` values.
Node MakeList(std::size_t values);

// The compact syntax of a format; %n and %v are replaced by name and value.
struct Syntax {
    std::string before;
    std::string open;
    std::string value;
    std::string between;
    std::string close;
    std::string after;
};

std::string Write(const Node& root, const Syntax& syntax);

}  // namespace zel::bench
