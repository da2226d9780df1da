#include "zel/data/DataTree.h"

#include "tests/support/TemporaryFolder.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <tuple>
#include <vector>

namespace zel {
namespace {

using namespace std::string_view_literals;
using test::ThrownBy;

using Tree = RCPtr<DataTree>;

constexpr auto DOCUMENT = R"(["r" ."text"="a b" ."on"="true"
  ["log"."size" = "0x10"
    ."low"="-128"
    ."ratio"="2.5" ."off"="0" ."big"="18446744073709551615"
    [!-- a comment
     and --] [
      "deep" ."x
y" = "1"
      ["end"]]]
  ."size"="" ])"sv;

TEST(DataTreeAccessTest, ReadsTypedValuesByNameAndPath) {
    const Tree tree = DataTree::FromString(DOCUMENT);
    const Tree log = tree->GetChild("log"sv);
    EXPECT_EQ(log->GetChildValueAs<unsigned char>("size"), 16);
    EXPECT_EQ(tree->GetChildValueAs<signed char>({"log", "low"}), -128);
    EXPECT_EQ(tree->GetChildValueAs<double>({"log", "ratio"}), 2.5);
    EXPECT_EQ(log->GetChildValueAs<std::uint64_t>("big"), UINT64_MAX);
    EXPECT_EQ(tree->GetChildValueAs<std::string>("text"), "a b");
    EXPECT_TRUE(tree->GetChild("on")->GetValueAs<bool>());
    EXPECT_FALSE(log->GetChildValueOr("off", true));
    EXPECT_EQ(tree->GetChildValueOr({"log", "none", "size"}, 7.5), 7.5);
    EXPECT_EQ(tree->GetChildValueOr("none", "x"), "x");
    EXPECT_EQ(tree->GetChildValueOr({"text"}, "x"), "a b");
}

TEST(DataTreeAccessTest, FindsNodesByPath) {
    const Tree tree = DataTree::FromString(DOCUMENT);
    const std::vector<std::string> path = {"log", "deep"};
    EXPECT_EQ(tree->Find(path)->GetName(), "deep");
    EXPECT_EQ(tree->Find({}), tree);
    EXPECT_EQ(tree->Find({"log", "none"}), nullptr);
    EXPECT_EQ(tree->Find({"none", "log"}), nullptr);
}

TEST(DataTreeAccessTest, KnowsTheLineOnWhichANodeBegins) {
    const test::TemporaryFolder folder;
    std::ofstream(folder / "tree") << std::string(100'000, '\n') << DOCUMENT;
    for (const std::size_t before : {0U, 100'000U}) {
        const Tree tree =
            (before == 0 ? DataTree::FromString(DOCUMENT) : DataTree::Load(folder / "tree"))
                ->Clone();
        EXPECT_EQ(tree->GetLine(), before + 1);
        EXPECT_EQ(tree->GetChild("size")->GetLine(), before + 10);
        EXPECT_EQ(tree->Find({"log", "big"})->GetLine(), before + 4);
        EXPECT_EQ(tree->Find({"log", "deep"})->GetLine(), before + 6);
        EXPECT_EQ(tree->Find({"log", "deep", "end"})->GetLine(), before + 9);
    }
    EXPECT_EQ(Tree(new DataTree("new", ""))->GetLine(), 0U);
}

TEST(DataTreeAccessTest, ErrorsNameTheNodeItsLineAndItsFile) {
    const test::TemporaryFolder folder;
    const std::string file = folder / "tree";
    std::ofstream(file) << DOCUMENT;
    const Tree tree = DataTree::Load(file);
    const std::string low = "Value '-128' of node low is not ";
    const std::tuple<std::function<void()>, std::string, std::string> rows[] = {
        {[&] { tree->GetChildValue("none"); }, "Node none not found", "line 1, node r"},
        {[&] {
             tree->GetChildValueAs<int>({"log", "none", "x"});
         },
         "Node none not found", "line 2, node r/log"},
        {[&] { tree->GetChildValueOr("size", 1.5F); }, "Value '' of node size is not a number",
         "line 10, node r/size"},
        {[&] {
             tree->GetChildValueAs<unsigned char>({"log", "low"});
         },
         low + "an integer from 0 to 255", "line 3, node r/log/low"},
        {[&] {
             tree->GetChildValueOr({"log", "low"}, true);
         },
         low + "true or false", "line 3, node r/log/low"},
    };
    for (const auto& [call, message, place] : rows) {
        EXPECT_EQ(ThrownBy<DataTreeEx>(call),
                  "DataTreeEx: " + message + " (" + file + ": " + place + ")");
    }
    tree->AppendChild(new DataTree("new", ""));
    EXPECT_EQ(ThrownBy([&] { tree->GetChild("new")->GetChildValue("x"); }),
              "DataTreeEx: Node x not found (" + file + ": node r/new)");
    const Tree end = DataTree::FromString(DOCUMENT)->Find({"log", "deep", "end"});
    EXPECT_EQ(ThrownBy([&] { end->GetChildValue("x"); }),
              "DataTreeEx: Node x not found (line 9, node end)");
    Tree deep = end;
    for (int i = 0; i < 40; ++i) {
        deep->AppendChild(new DataTree("n", ""));
        deep = deep->GetChild("n");
    }
    EXPECT_NE(ThrownBy([&] { deep->GetValueAs<int>(); }).find("(node .../n/n/"), std::string::npos);
}

}  // namespace
}  // namespace zel
