#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"
#include "tests/support/VariantForms.h"

#include <gtest/gtest.h>

#include <array>

namespace zel {
namespace {

using test::MakeVariant;
using Value = RCPtr<VariantBase>;

// The comparisons, each with a sign and with the name in its message.
const struct {
    bool (VariantBase::*compare)(Value, bool, bool, bool) const;
    char sign;
    std::string name;
} s_operations[] = {
    {&VariantBase::IsEqual, '=', "IsEqual"},
    {&VariantBase::IsNotEqual, '#', "IsEqual"},
    {&VariantBase::IsLessThan, '<', "IsLessThan"},
    {&VariantBase::IsLessThanOrEqualTo, '[', "IsLessThanOrEqualTo"},
    {&VariantBase::IsGreaterThan, '>', "IsGreaterThan"},
    {&VariantBase::IsGreaterThanOrEqualTo, ']', "IsGreaterThanOrEqualTo"},
};

// Returns the signs of the comparisons that are true.
std::string Compare(const Value& left, const Value& right, bool expandSingle, bool last) {
    std::string signs;
    for (const auto& operation : s_operations) {
        if (((*left).*operation.compare)(right, false, expandSingle, last)) {
            signs += operation.sign;
        }
    }
    return signs;
}

// Two values, and what is true with the last argument true and with false.
using Row = std::array<const char*, 4>;

TEST(VariantComparisonTest, TypesAndFlagsDecideTheResult) {
    const std::vector<Row> scalars = {
        {"S64 5", "S32 5", "=[]", "=[]"},        {"S32 5", "S64 5", "#", "#"},
        {"S32 -1", "S16 1", "#<[", "#<["},       {"U32 200", "U8 100", "#>]", "#>]"},
        {"string 5", "S32 5", "=[]", "=[]"},     {"string 10", "S32 9", "#<[", "#<["},
        {"string a", "string ab", "#<[", "#<["}, {"string \xFF", "S8 1", "#>]", "#>]"},
        {"D64 nan", "D64 nan", "#", "#"},        {"S32 5", "S32[] 5", "#", "#"},
    };
    const std::vector<Row> arrays = {
        {"S32[] 1`2", "S32[2] 1`2", "=[]", "=[]"}, {"S32[] 1`2", "S32[] 1`3", "#<[]", "=["},
        {"S32[] 1`2", "S32[] 2`3", "#<[", "#<["},  {"S32[] 1`5", "S32[] 2`3", "#<[>]", "#"},
        {"S32[] 7", "S32[] 7`7`7", "#", "#"},      {"S32[] ", "S32[] ", "=", "#<[>]"},
        {"D64[] nan`nan", "D64[] 1`1", "#", "#"},  {"string[] 1`2", "S32[] 1`2", "=[]", "=[]"},
    };
    const std::vector<Row> expanded = {
        {"S32[] 7", "S32[] 7`7`7", "=[]", "=[]"},
        {"S32[] 7`8", "S32[] 7", "#[>]", "=]"},
        {"S32[] 1`2", "S32[] 1`2`3", "#", "#"},
        {"S32[] 1", "S32[] ", "=", "#<[>]"},
    };
    for (const auto* const rows : {&scalars, &arrays, &expanded}) {
        for (const auto& [left, right, withTrue, withFalse] : *rows) {
            SCOPED_TRACE(left + std::string(" and ") + right);
            const Value value = MakeVariant(left);
            EXPECT_EQ(Compare(value, MakeVariant(right), rows == &expanded, true), withTrue);
            EXPECT_EQ(Compare(value, MakeVariant(right), rows == &expanded, false), withFalse);
        }
    }
}

// The lengths are about those of the blocks that are compared at once and that are copied.
TEST(VariantComparisonTest, ALongArrayIsComparedToItsEnd) {
    test::ForEachElement([]<class E>(ElementTraits<E>) {
        for (const std::size_t count : {63U, 64U, 65U, 1024U, 5000U}) {
            std::vector<E> elements(count, test::Sample<E>(5));
            const Value left(new Variant<std::vector<E>>(elements));
            elements.back() = test::Sample<E>(6);
            const Value right(new Variant<std::vector<E>>(elements));
            SCOPED_TRACE(left->GetTypeName() + std::to_string(count));
            EXPECT_EQ(Compare(left, left, false, true), "=[]");
            EXPECT_EQ(Compare(left, right, false, true), "#<[]");
            EXPECT_EQ(Compare(left, right, false, false), "=[");
        }
    });
}

TEST(VariantComparisonTest, TakesAnyPointerAndThrowsIfAsked) {
    const Value five = MakeVariant("S32 5");
    for (const auto& operation : s_operations) {
        const test::ScopedLogger log;
        SCOPED_TRACE(operation.sign);
        const auto compare = [&](const Value& other, bool throwOnError) {
            return test::ThrownBy(
                [&] { ((*five).*operation.compare)(other, throwOnError, false, false); });
        };
        EXPECT_EQ(compare(nullptr, false), "");
        EXPECT_EQ(log.sink->TakeText(), "");
        EXPECT_EQ(compare(nullptr, true), "VariantEx: [Variant< T >::" + operation.name +
                                              "] Invalid comparison variant argument!");
        EXPECT_NE(compare(MakeVariant("D64 5"), true), "");
    }
    EXPECT_EQ(Compare(five, nullptr, true, true), "#");
    EXPECT_EQ(Compare(five, five, true, true), "=[]");
    const Variant<int> local(5);
    const RCPtr<const VariantBase> shared = five;
    EXPECT_TRUE(shared->IsEqual(local, true, false, true));
    EXPECT_TRUE(local.IsGreaterThanOrEqualTo(shared, true, false, true));
    EXPECT_FALSE(local.IsEqual(RCPtr<const VariantBase>(), false, false, true));
}

}  // namespace
}  // namespace zel
