#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zel::bench {

// One logical document, from which each side gets the same in its own format: a value or children
// below a name. Names have 3 to 20 characters and are unique among siblings, values have 1 to 30,
// and none has a character that any of the formats would escape.
struct Node {
    std::string name;
    std::string value;
    std::vector<Node> children;
};

// A settings document of so many nodes, nested sections of a few values each; the same every time.
Node MakeSettings(std::size_t nodes);

// A node of so many values.
Node MakeList(std::size_t values);

// How a format writes a document without white space; %n and %v stand for name and value.
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
