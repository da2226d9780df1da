// Prints a tree document, and gets, sets or deletes a value in it.

#include "zel/data/DataTree.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using zel::DataTree;
using zel::RCPtr;

namespace {

using Words = std::span<const std::string>;

// Where and how a document is written.
enum class Output { INDENTED, COMPACT, SAVED };

constexpr std::string_view USAGE =
    R"(usage: tree_document [--compact] print FILE
       tree_document get FILE NAME...
       tree_document [--compact | --save] set FILE NAME... VALUE
       tree_document [--compact | --save] delete FILE NAME...

print writes the document to standard output, set and delete write it with their change, or save it
in FILE if --save is given. FILE "-" is standard input. NAME... is the path of a node below the root,
one name per level; of several nodes of one name the first is used. set creates the node if only the
last NAME is missing.
)";

std::runtime_error PathError(Words path, std::string_view message) {
    std::string text;
    for (const std::string& name : path) {
        text += (text.empty() ? "" : "/") + name;
    }
    return std::runtime_error(text.append(message));
}

RCPtr<DataTree> Read(const std::string& file) {
    return file == "-" ? DataTree::ReadFrom(std::cin) : DataTree::Load(file.c_str());
}

void CheckOutput() {
    if (!std::cout.flush()) {
        throw std::runtime_error("Could not write to standard output");
    }
}

void Write(const DataTree& root, const std::string& file, Output output) {
    constexpr int compact = -1;
    switch (output) {
        case Output::INDENTED:
            root.WriteTo(std::cout, 0);
            break;
        case Output::COMPACT:
            root.WriteTo(std::cout, compact);
            std::cout << '\n';
            break;
        case Output::SAVED:
            root.Save(file);
            return;
    }
    CheckOutput();
}

RCPtr<DataTree> Find(const DataTree& root, Words path) {
    RCPtr<DataTree> node = root.Find(path);
    if (!node) {
        throw PathError(path, " not found");
    }
    return node;
}

void PrintValue(const DataTree& root, Words path) {
    const RCPtr<DataTree> node = Find(root, path);
    if (node->GetChildCount() > 0) {
        throw PathError(path, " has no value, but child nodes");
    }
    std::cout << node->GetValue() << '\n';
    CheckOutput();
}

// Refuses what the text form can't represent: a value of a node that has children.
void SetValue(const DataTree& root, Words path, const std::string& value) {
    const Words parentPath = path.first(path.size() - 1);
    const RCPtr<DataTree> parent = Find(root, parentPath);
    if (!parent->GetValue().empty()) {
        throw PathError(parentPath, " has a value and so can't have child nodes");
    }
    const RCPtr<DataTree> node = parent->GetChild(path.back());
    if (node && node->GetChildCount() > 0) {
        throw PathError(path, " has child nodes and so can't have a value");
    }
    parent->SetChildValue(path.back(), value);
}

void Delete(const DataTree& root, Words path) {
    if (!Find(root, path.first(path.size() - 1))->DeleteChild(path.back())) {
        throw PathError(path, " not found");
    }
}

// Returns false if the arguments are no valid command.
bool Run(Words words, Output output) {
    if (words.size() < 2) {
        return false;
    }
    const std::string& command = words[0];
    const std::string& file = words[1];
    const Words rest = words.subspan(2);
    if (file == "-" && output == Output::SAVED) {
        return false;
    }
    if (command == "print" && rest.empty() && output != Output::SAVED) {
        Write(*Read(file), file, output);
    } else if (command == "get" && !rest.empty()) {
        PrintValue(*Read(file), rest);
    } else if (command == "set" && rest.size() >= 2) {
        const RCPtr<DataTree> root = Read(file);
        SetValue(*root, rest.first(rest.size() - 1), rest.back());
        Write(*root, file, output);
    } else if (command == "delete" && !rest.empty()) {
        const RCPtr<DataTree> root = Read(file);
        Delete(*root, rest);
        Write(*root, file, output);
    } else {
        return false;
    }
    return true;
}

// Prints one line: names and paths in the text may contain control characters.
void PrintError(std::string text) {
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == '\x7F'; }, '?');
    std::cerr << "tree_document: " << text << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int wrongInput = 1;
    constexpr int wrongUsage = 2;
    try {
        std::ios::sync_with_stdio(false);
        // A failed read must not look like the end of the document.
        std::cin.exceptions(std::ios::badbit);
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        const std::string option = arguments.empty() ? "" : arguments[0];
        const Output output = option == "--compact" ? Output::COMPACT
                              : option == "--save"  ? Output::SAVED
                                                    : Output::INDENTED;
        if (!Run(Words(arguments).subspan(output == Output::INDENTED ? 0 : 1), output)) {
            std::cerr << USAGE;
            return wrongUsage;
        }
        return 0;
    } catch (const zel::Exception& ex) {
        const std::string info = ex.GetInfo();
        PrintError(info.empty() ? ex.what() : info + ": " + ex.what());
    } catch (const std::exception& ex) {
        PrintError(ex.what());
    }
    return wrongInput;
}
