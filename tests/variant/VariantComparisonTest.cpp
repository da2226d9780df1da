#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>
#include <utility>

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

// The argument is read into the receiver's type; the flags combine the pairs of arrays.
TEST(VariantComparisonTest, HoldsAsTheTypesAndTheFlagsSay) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Value itself = Make(5);
    const std::tuple<Value, Value, bool, const char*, const char*> rows[] = {
        {Make(5LL), Make(5), false, "=[]", "=[]"},
        {Make(5), Make(5LL), true, "#", "#"},
        {Make(5.0), Make(5), true, "=[]", "=[]"},
        {Make(5), Make(5.0), false, "#", "#"},
        {Make(-1), Make(short(1)), false, "#<[", "#<["},
        {Make(200U), Make(static_cast<unsigned char>(100)), false, "#>]", "#>]"},
        {Make<std::string>("5"), Make(5), false, "=[]", "=[]"},
        {Make(5), Make<std::string>("5"), false, "#", "#"},
        {Make<std::string>("10"), Make(9), true, "#<[", "#<["},
        {Make<std::string>("ab"), Make<std::string>("ab\xFF"), false, "#<[", "#<["},
        {Make<std::string>("\xFF"), Make<std::string>("a"), false, "#>]", "#>]"},
        {Make(nan), Make(nan), false, "#", "#"},
        {Make(5), Array<int>({5}), true, "#", "#"},
        {Make(5), nullptr, true, "#", "#"},
        {itself, itself, false, "=[]", "=[]"},
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
    for (const auto& [left, right, expandSingle, withTrue, withFalse] : rows) {
        const std::string what = left->WriteValueToString(false) + " and " +
                                 (right ? right->WriteValueToString(false) : "null");
        EXPECT_EQ(Compare(left, right, expandSingle, true), withTrue) << what;
        EXPECT_EQ(Compare(left, right, expandSingle, false), withFalse) << what;
    }
}

TEST(VariantComparisonTest, HoldsForPlainArraysAlike) {
    std::vector<int> one{1};
    std::vector<int> two{2};
    EXPECT_TRUE(IsLessThanImp(&one, &two, false, true));
    EXPECT_TRUE(IsLessThanOrEqualImp(&one, &two, false, true));
    EXPECT_FALSE(IsEqualImp(&one, &two, false, true));
    EXPECT_FALSE(IsGreaterThanImp(&one, &two, false, true));
    EXPECT_FALSE(IsGreaterThanOrEqualImp(&one, &two, false, true));
}

TEST(VariantComparisonTest, ThrowsForWhatCannotBeComparedWhenAsked) {
    const test::ScopedLogger log;
    const Value five = Make(5);
    using Operation = bool (VariantBase::*)(Value, bool, bool, bool) const;
    const std::pair<Operation, std::string> rows[] = {
        {&VariantBase::IsEqual, "IsEqual"},
        {&VariantBase::IsNotEqual, "IsEqual"},
        {&VariantBase::IsLessThan, "IsLessThan"},
        {&VariantBase::IsLessThanOrEqualTo, "IsLessThanOrEqualTo"},
        {&VariantBase::IsGreaterThan, "IsGreaterThan"},
        {&VariantBase::IsGreaterThanOrEqualTo, "IsGreaterThanOrEqualTo"},
    };
    for (const auto& [operation, name] : rows) {
        const auto compare = [&, op = operation](const Value& other, bool throwOnError) {
            return test::ThrownBy([&] { ((*five).*op)(other, throwOnError, false, false); });
        };
        log.sink->TakeText();
        EXPECT_EQ(compare(nullptr, false), "");
        EXPECT_EQ(log.sink->TakeText(), "");
        EXPECT_EQ(compare(nullptr, true),
                  "VariantEx: [Variant< T >::" + name + "] Invalid comparison variant argument!");
        EXPECT_NE(compare(Make(5.0), true), "");
    }
}

}  // namespace
}  // namespace zel
