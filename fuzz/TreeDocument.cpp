#include "zel/data/DataTree.h"

#include "fuzz/Target.h"

#include <sstream>

namespace zel::fuzz {

namespace {

using Tree = RCPtr<DataTree>;

std::string Compact(const Tree& tree) {
    std::ostringstream out;
    tree->WriteTo(out, -1);
    return out.str();
}

// Returns the tree in compact form and the lines of nodes, or the error with its position.
template <class Read>
std::string Outcome(Read read) {
    try {
        const Tree tree = read();
        std::string text = Compact(tree);
        for (const Tree& child : *tree) {
            text += ' ' + std::to_string(child->GetLine());
        }
        return text;
    } catch (const DataTreeEx& exception) {
        return exception.AsStringEx() + exception.GetInfo();
    }
}

}  // namespace

// The first byte is the size of the pieces in which the document is read.
void Run(Input input) {
    const std::size_t piece = input.TakeByte() + 1;
    const std::string text(input.GetRest());
    PieceStream in(text, piece);
    const auto fromString = [&] { return DataTree::FromString(text); };
    Require(Outcome(fromString) == Outcome([&] { return DataTree::ReadFrom(in); }),
            "a string and a stream yield the same tree or error");
    const auto tree = Try<DataTreeEx>(fromString);
    if (!tree) {
        return;
    }
    const std::string compact = Compact(*tree);
    Require(Compact(DataTree::FromString(compact)) == compact, "the compact form reads back");
    Require(Compact(DataTree::FromString((*tree)->ToString())) == compact,
            "the indented form reads back");
    Require(Compact((*tree)->Clone()) == compact, "a clone is the same tree");
}

}  // namespace zel::fuzz
