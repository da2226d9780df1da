#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <limits>

namespace zel {
namespace {

using Value = RCPtr<VariantBase>;

template <class T>
Value Make(const T& value) {
    return new Variant<T>(value);
}

template <class E>
Value Array(const std::vector<E>& values) {
    return new Variant<std::vector<E>>(values);
}

// All six operations under one pair of flags, as a row of signs: = # < [ > ] for those that hold.
std::string Compare(const Value& left, const Value& right, bool expandSingle, bool last) {
    std::string signs;
    signs += left->IsEqual(right, false, expandSingle, last) ? "=" : "";
    signs += left->IsNotEqual(right, false, expandSingle, last) ? "#" : "";
    signs += left->IsLessThan(right, false, expandSingle, last) ? "<" : "";
    signs += left->IsLessThanOrEqualTo(right, false, expandSingle, last) ? "[" : "";
    signs += left->IsGreaterThan(right, false, expandSingle, last) ? ">" : "";
    signs += left->IsGreaterThanOrEqualTo(right, false, expandSingle, last) ? "]" : "";
    return signs;
}

TEST(VariantComparisonTest, ReadsTheArgumentIntoTheReceiversType) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Value itself = Make(5);
    const struct {
        Value left;
        Value right;
        const char* signs;
    } rows[] = {
        {Make(5LL), Make(5), "=[]"},
        {Make(5), Make(5LL), "#"},
        {Make(5.0), Make(5), "=[]"},
        {Make(5), Make(5.0), "#"},
        {Make(-1), Make(short(1)), "#<["},
        {Make(200U), Make(static_cast<unsigned char>(100)), "#>]"},
        {Make<std::string>("5"), Make(5), "=[]"},
        {Make(5), Make<std::string>("5"), "#"},
        {Make<std::string>("10"), Make(9), "#<["},
        {Make<std::string>("ab"), Make<std::string>("ab\xFF"), "#<["},
        {Make<std::string>("\xFF"), Make<std::string>("a"), "#>]"},
        {Make(nan), Make(nan), "#"},
        {Make(5), Array<int>({5}), "#"},
        {Make(5), nullptr, "#"},
        {itself, itself, "=[]"},
    };
    for (const auto& row : rows) {
        const std::string what = row.left->WriteValueToString(false) + " and " +
                                 (row.right ? row.right->WriteValueToString(false) : "null");
        EXPECT_EQ(Compare(row.left, row.right, true, true), row.signs) << what;
        EXPECT_EQ(Compare(row.left, row.right, false, false), row.signs) << what;
    }
}

TEST(VariantComparisonTest, CombinesThePairsOfArraysByTheFlags) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        Value left;
        Value right;
        bool expandSingle;
        const char* withTrue;
        const char* withFalse;
    } rows[] = {
        {Array<int>({1, 2}), Array<int>({1, 2}), false, "=[]", "=[]"},
        {Array<int>({1, 2}), Array<int>({1, 3}), false, "#<[]", "=["},
        {Array<int>({1, 2}), Array<int>({2, 3}), false, "#<[", "#<["},
        {Array<int>({1, 5}), Array<int>({2, 3}), false, "#<[>]", "#"},
        {Array<int>({7}), Array<int>({7, 7, 7}), true, "=[]", "=[]"},
        {Array<int>({7}), Array<int>({7, 7, 7}), false, "#", "#"},
        {Array<int>({7, 8}), Array<int>({7}), true, "#[>]", "=]"},
        {Array<int>({1, 2}), Array<int>({1, 2, 3}), true, "#", "#"},
        {Array<int>({}), Array<int>({}), false, "=", "#<[>]"},
        {Array<int>({1}), Array<int>({}), true, "=", "#<[>]"},
        {Array<double>({nan}), Array<double>({1}), false, "#", "#"},
        {Array<std::string>({"1", "2"}), Array<int>({1, 2}), false, "=[]", "=[]"},
        {Array<int>({1, 2}), Array<std::string>({"1", "2"}), false, "#", "#"},
        {Array<long long>({1, 2}), Array<int>({1, 2}), false, "=[]", "=[]"},
    };
    for (const auto& row : rows) {
        const std::string what =
            row.left->WriteValueToString(false) + " and " + row.right->WriteValueToString(false);
        EXPECT_EQ(Compare(row.left, row.right, row.expandSingle, true), row.withTrue) << what;
        EXPECT_EQ(Compare(row.left, row.right, row.expandSingle, false), row.withFalse) << what;
    }
}

TEST(VariantComparisonTest, ThrowsForWhatCannotBeComparedWhenAsked) {
    const test::ScopedLogger log;
    const Value five = Make(5);
    using Operation = bool (VariantBase::*)(Value, bool, bool, bool) const;
    const struct {
        Operation operation;
        std::string name;
    } rows[] = {
        {&VariantBase::IsEqual, "IsEqual"},
        {&VariantBase::IsNotEqual, "IsEqual"},
        {&VariantBase::IsLessThan, "IsLessThan"},
        {&VariantBase::IsLessThanOrEqualTo, "IsLessThanOrEqualTo"},
        {&VariantBase::IsGreaterThan, "IsGreaterThan"},
        {&VariantBase::IsGreaterThanOrEqualTo, "IsGreaterThanOrEqualTo"},
    };
    for (const auto& row : rows) {
        ((*five).*row.operation)(nullptr, false, false, false);
        EXPECT_TRUE(log.sink->TakeLines().empty());
        try {
            ((*five).*row.operation)(nullptr, true, false, false);
            ADD_FAILURE() << row.name;
        } catch (const VariantEx& exception) {
            EXPECT_EQ(exception.GetText(),
                      "[Variant< T >::" + row.name + "] Invalid comparison variant argument!");
        }
        EXPECT_THROW(((*five).*row.operation)(Make(5.0), true, false, false), VariantEx);
        log.sink->TakeLines();
    }
}

}  // namespace
}  // namespace zel
