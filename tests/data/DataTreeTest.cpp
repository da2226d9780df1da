#include "zel/data/DataTree.h"

#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace zel {
namespace {

using Tree = RCPtr<DataTree>;

static_assert(!std::is_destructible_v<DataTree>);

Tree MakeTree(const std::vector<std::string>& names) {
    Tree tree(new DataTree("root", ""));
    int number = 0;
    for (const std::string& name : names) {
        tree->AppendChild(new DataTree(name, std::to_string(++number)));
    }
    return tree;
}

TEST(DataTreeTest, FindsTheFirstChildOfARepeatedName) {
    const Tree tree = MakeTree({"a", "b", "a", "A"});
    tree->SetChildValue("a", "5");
    tree->SetChildValue("c", "6");
    std::string value = "default";
    EXPECT_FALSE(tree->GetChildValue("d", &value));
    EXPECT_EQ(value, "default");
    EXPECT_TRUE(tree->GetChildValue("A", &value));
    EXPECT_EQ(value, "4");
    EXPECT_EQ(tree->GetChildValue("a"), "5");
    EXPECT_EQ(test::ThrownBy<DataTreeEx>([&] { tree->GetChildValue("d"); }),
              "DataTreeEx: Node d not found (node root)");
    EXPECT_TRUE(tree->DeleteChild("a"));
    EXPECT_EQ(tree->GetChildValue("a"), "3");
}

TEST(DataTreeTest, TheParentIsTheNodeThatAppendedTheChildLast) {
    const Tree first = MakeTree({"child"});
    const Tree child = first->GetChild("child");
    const Tree second = MakeTree({});
    second->AppendChild(child);
    EXPECT_EQ(child->GetParentNode(), second);
    EXPECT_TRUE(second->DeleteChild("child"));
    EXPECT_EQ(child->GetParentNode(), second);

    const Tree clone = first->Clone();
    EXPECT_EQ(clone->GetChild("child")->GetParentNode(), clone);
    EXPECT_FALSE(clone->GetChild("child")->Clone()->GetParentNode());
    clone->SetChildValue("child", "2");
    EXPECT_EQ(first->GetChildValue("child"), "1") << "a clone shares nothing";
}

TEST(DataTreeTest, MatchesAListThroughRandomChanges) {
    std::mt19937 random(3);
    const Tree tree = MakeTree({});
    std::list<Tree> model;
    for (int round = 0; round < 4000; ++round) {
        const std::string name = "n" + std::to_string(random() % 20);
        const auto found = std::find_if(model.begin(), model.end(), [&](const Tree& child) {
            return child->GetName() == name;
        });
        const bool isKnown = found != model.end();
        ASSERT_EQ(tree->HasChild(name), isKnown);
        ASSERT_EQ(tree->GetChild(name), isKnown ? *found : nullptr);
        const std::size_t targetSize = round / 500 % 2 == 0 ? 30 : 3;
        if (model.size() < targetSize) {
            const bool isRepeated = isKnown && random() % 4 == 0;
            tree->AppendChild(
                model.emplace_back(isRepeated ? *found : Tree(new DataTree(name, ""))));
        } else {
            ASSERT_EQ(tree->DeleteChild(name), isKnown);
            model.erase(found, isKnown ? std::next(found) : found);
        }
        std::set<std::string> names;
        std::string text = "[\"root\"\n";
        std::list<Tree> named{tree};
        for (const Tree& child : model) {
            if (child->GetName() == name) {
                named.push_back(child);
            }
            names.insert(child->GetName());
            text += "   [\"" + child->GetName() + "\"]\n";
        }
        std::list<Tree> children{tree};
        tree->GetChildren(name, &children);
        ASSERT_TRUE(children == named) << round;
        tree->GetChildren(&children);
        ASSERT_TRUE(children == model) << round;
        ASSERT_EQ(tree->ToString(), text + "]\n") << round;
        ASSERT_EQ(tree->Clone()->ToString(), text + "]\n") << round;
        ASSERT_EQ(tree->GetChildCount(), names.size()) << round;
        ASSERT_TRUE(std::equal(tree->begin(), tree->end(), model.begin(), model.end())) << round;
    }
}

TEST(DataTreeTest, AllowsConcurrentLookupsAndEmptiesANodeInLinearTime) {
    constexpr int count = 100'000;
    const Tree tree = MakeTree(std::vector<std::string>(count, "same"));
    {
        const std::jthread other([&] { EXPECT_EQ(tree->GetChildValue("same"), "1"); });
        EXPECT_TRUE(tree->HasChild("same"));
    }
    for (int i = 1; i <= count; ++i) {
        ASSERT_EQ(tree->GetChildValue("same"), std::to_string(i));
        ASSERT_EQ((*tree->begin())->GetValue(), std::to_string(i));
        ASSERT_TRUE(tree->DeleteChild("same"));
    }
    EXPECT_EQ(tree->ToString(), "[\"root\"]\n");
}

TEST(DataTreeTest, DeletesParentsFirstAndKeepsReferencedNodes) {
    static std::string events;
    class Recorded : public DataTree {
    public:
        using DataTree::DataTree;
        ~Recorded() override {
            events += '(' + GetName() + std::to_string(GetChildCount());
            other = nullptr;
            events += ')';
        }
        Tree other;
    };
    Tree root(new Recorded("root", ""));
    Tree held;
    for (const char* name : {"a", "b"}) {
        RCPtr<Recorded> child(new Recorded(name, ""));
        held = new Recorded("held", "");
        child->AppendChild(held);
        child->other = new Recorded("other", "");
        child->other->AppendChild(new Recorded("leaf", ""));
        root->AppendChild(child);
    }
    root = nullptr;
    EXPECT_EQ(events, "(root2)(a1(other1)(leaf0))(held0)(b1(other1)(leaf0))");
    EXPECT_FALSE(held->GetParentNode());
}

}  // namespace
}  // namespace zel
