#include "zel/data/DataTree.h"

#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace zel {
namespace {

using Tree = RCPtr<DataTree>;

Tree MakeTree(const std::vector<std::string>& names) {
    Tree tree(new DataTree("root", ""));
    int number = 0;
    for (const std::string& name : names) {
        tree->AppendChild(new DataTree(name, std::to_string(++number)));
    }
    return tree;
}

std::string NamesAndValues(const std::list<Tree>& children) {
    std::string text;
    for (const Tree& child : children) {
        text += child->GetName() + child->GetValue() + ' ';
    }
    return text;
}

TEST(DataTreeTest, FindsTheEarliestChildOfARepeatedName) {
    const Tree tree = MakeTree({"a", "b", "a", "A"});
    EXPECT_EQ(tree->GetChild("a")->GetValue() + tree->GetChildValue("A"), "14");
    EXPECT_FALSE(tree->GetChild("c"));
    EXPECT_EQ(test::ThrownBy<DataTreeEx>([&] { tree->GetChildValue("c"); }),
              "DataTreeEx: Node c not found");
    std::list<Tree> found;
    tree->GetChildren("a", &found);
    tree->GetChildren("a", &found);
    EXPECT_EQ(NamesAndValues(found), "a1 a3 a1 a3 ");
}

TEST(DataTreeTest, AChildKnowsTheNodeThatTookItLast) {
    const Tree first = MakeTree({"child"});
    const Tree child = first->GetChild("child");
    Tree second = MakeTree({});
    second->AppendChild(child);
    EXPECT_EQ(child->GetParentNode(), second);
    EXPECT_TRUE(first->HasChild("child"));
    EXPECT_TRUE(second->DeleteChild("child"));
    EXPECT_EQ(child->GetParentNode(), second);
    second = nullptr;
    EXPECT_FALSE(child->GetParentNode());

    const Tree clone = first->Clone();
    EXPECT_EQ(clone->GetChild("child")->GetParentNode(), clone);
    EXPECT_FALSE(clone->GetChild("child")->Clone()->GetParentNode());
    clone->SetChildValue("child", "2");
    EXPECT_EQ(first->GetChildValue("child"), "1") << "a clone shares nothing";
}

// A plain list says what a node must answer, with few children and with many.
TEST(DataTreeTest, AnswersLikeAPlainListThroughRandomChanges) {
    std::mt19937 random(3);
    const Tree tree = MakeTree({});
    std::list<std::pair<std::string, std::string>> model;
    for (int round = 0; round < 4000; ++round) {
        const std::string name = "n" + std::to_string(random() % 20);
        const std::string value = std::to_string(round);
        const auto found = std::find_if(model.begin(), model.end(),
                                        [&](const auto& entry) { return entry.first == name; });
        const bool isKnown = found != model.end();
        std::string seen = "none";
        ASSERT_EQ(tree->GetChildValue(name, &seen), isKnown);
        ASSERT_EQ(seen, isKnown ? found->second : "none");
        const std::size_t aim = round / 500 % 2 == 0 ? 30 : 3;
        if (isKnown && random() % 4 == 0) {
            tree->SetChildValue(name, value);
            found->second = value;
        } else if (model.size() < aim) {
            isKnown ? tree->AppendChild(new DataTree(name, value))
                    : tree->SetChildValue(name, value);
            model.emplace_back(name, value);
        } else {
            EXPECT_EQ(tree->DeleteChild(name), isKnown);
            model.erase(found, isKnown ? std::next(found) : found);
        }
        std::string text;
        std::set<std::string> distinct;
        for (const auto& [modelName, modelValue] : model) {
            text += modelName + modelValue + ' ';
            distinct.insert(modelName);
        }
        std::list<Tree> children{nullptr};
        tree->GetChildren(&children);
        ASSERT_EQ(NamesAndValues(children), text);
        ASSERT_EQ(tree->GetChildCount(), distinct.size());
    }
}

TEST(DataTreeTest, ManyThreadsMayLookThingsUpAtOnce) {
    constexpr int count = 100;
    const Tree tree = MakeTree(std::vector<std::string>(count, "same"));
    for (int i = 0; i < count; ++i) {
        tree->SetChildValue(std::to_string(i), "");
    }
    const auto read = [&] {
        for (int i = 0; i < count; ++i) {
            EXPECT_TRUE(tree->HasChild(std::to_string(i)));
        }
        EXPECT_EQ(tree->GetChildCount(), count + 1U);
    };
    const std::jthread other(read);
    read();
}

TEST(DataTreeTest, DestroysFromTheTopDownAndSparesWhatOthersHold) {
    static std::string events;
    class Noted : public DataTree {
    public:
        using DataTree::DataTree;
        ~Noted() override { events += GetName() + std::to_string(GetChildCount()) + ' '; }
    };
    Tree root(new Noted("root", ""));
    Tree held;
    for (const char* name : {"a", "b"}) {
        Tree child(new Noted(name, ""));
        held = new Noted("held", "");
        child->AppendChild(new Noted("leaf", ""));
        child->AppendChild(held);
        root->AppendChild(child);
    }
    root = nullptr;
    EXPECT_EQ(events, "root2 a2 leaf0 held0 b2 leaf0 ");
    EXPECT_FALSE(held->GetParentNode());
}

}  // namespace
}  // namespace zel
