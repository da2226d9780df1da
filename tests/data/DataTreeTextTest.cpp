#include "zel/data/DataTree.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/SmallStackThread.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>
#include <utility>

namespace zel {
namespace {

using test::ThrownBy;
using Tree = RCPtr<DataTree>;

std::string Compact(const Tree& tree) {
    std::ostringstream out;
    tree->WriteTo(out, -1);
    return out.str();
}

TEST(DataTreeTextTest, WritesIndentedText) {
    const Tree tree = DataTree::FromString(R"(["r"."a"="1"["e"]["a"."b"="2 \"quoted\""]])");
    tree->SetValue("lost");
    EXPECT_EQ(tree->ToString(), R"(["r"
   ."a"="1"
   ["e"]
   ["a"
      ."b"="2 \"quoted\""
   ]
]
)");
    std::ostringstream out;
    tree->GetChild("a")->WriteTo(out, 300);
    EXPECT_EQ(out.str(), std::string(900, ' ') + ".\"a\"=\"1\"\n");
}

TEST(DataTreeTextTest, ReadsAnyLayoutAndSkipsStrayText) {
    const std::pair<const char*, const char*> rows[] = {
        {"[ \n\"a\" \"b\"$63$ . \"x\" \t= \"y\" $7a$\n]", R"(["abc"."x"="yz"])"},
        {R"(stray ["a" word "quoted" = [] ["b" [x] .""=$$ ] tail )", R"(["a"["b"][""]])"},
        {"[!----][!-- [ \" - -- --x ] ---] [ !--\n--]\n[\"a\" [!---]---] ]", R"(["a"])"},
        {"[\"a\" .\"x\"=\"]\n[.=\"]", R"(["a"."x"="]\n[.="])"},
    };
    for (const auto& [text, compact] : rows) {
        EXPECT_EQ(Compact(DataTree::FromString(text)), compact) << text;
    }
}

TEST(DataTreeTextTest, ReportsAndLogsErrorsWithPosition) {
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"[!-- only --] word\n", "No DataTree found in input data", "line 2, column 1"},
        {"[\"a\"[\"b\"\n", "Tag b not properly closed", "line 2, column 1"},
        {"[\"a\"]\n [", "Unexpected end of document", "line 2, column 3"},
        {"[\"a\"]\n]", "Unexpected closing tag", "line 2, column 1"},
        {"[\"a\"]\n[\"b\"]", "Tree must be singly rooted", "line 2, column 2"},
        {"\n\n .\"a\"=\"b\"", "Value node can not appear at root level", "line 3, column 2"},
        {"[\"a\"].", "Value node can not appear at root level", "line 1, column 6"},
        {"[\"a\".\"n\"", "Malformed value node n", "line 1, column 9"},
        {"[\"a\".\"n\" \"m\" \"1\"x]", "Malformed value node nm1", "line 1, column 17"},
        {"[\"a\"\n.\"n\"=", "String was expected but not found", "line 2, column 6"},
        {"[\"a\".\"n\"=\"m\\x\"]", "Malformed string", "line 1, column 13"},
        {"[! --", "Malformed comment start sequence", "line 1, column 3"},
        {"[!-", "Malformed comment start sequence", "line 1, column 4"},
        {"[!---]", "Malformed comment", "line 1, column 7"},
    };
    const test::ScopedLogger log;
    for (const auto& [text, message, position] : rows) {
        std::istringstream in(text);
        EXPECT_EQ(ThrownBy<DataTreeEx>([&] { DataTree::ReadFrom(in); }),
                  "DataTreeEx: " + message + " (" + position + ")")
            << text;
        EXPECT_EQ(log.sink->TakeText(), "\n2 DataTree Exception of type DataTreeEx. " + message);
    }
}

TEST(DataTreeTextTest, LeavesTheStreamAtTheError) {
    std::istringstream bad("[\"a\"]]rest");
    EXPECT_THROW(DataTree::ReadFrom(bad), DataTreeEx);
    EXPECT_EQ(bad.get(), 'r');
}

TEST(DataTreeTextTest, AMillionLevelsNeedConstantStack) {
    constexpr int count = 1'000'000;
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += R"(["n")";
    }
    text.append(count, ']');
    test::RunOnSmallStack(
        [&] { EXPECT_TRUE(Compact(DataTree::FromString(text)->Clone()) == text); });
}

}  // namespace
}  // namespace zel
