#include "zel/core/StringUtils.h"
#include "zel/variant/Variant.h"

#include "tests/support/Thrown.h"
#include "tests/support/VariantForms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>

namespace zel {
namespace {

using test::ForEachElement;
using Value = RCPtr<VariantBase>;

// Returns whether an element type converts to another: the row is `from`, the columns are U8 U16
// U32 U64 S8 S16 S32 S64 F32 D64.
bool IsInTable(int from, int to) {
    static const std::map<int, std::string> table = {
        {0x11, "yyyy-----y"}, {0x12, "-yyy-----y"}, {0x14, "--yy-----y"}, {0x18, "---y-----y"},
        {0x21, "----yyyy-y"}, {0x22, "-----yyy-y"}, {0x24, "------yy-y"}, {0x28, "-------y-y"},
        {0x44, "--------yy"}, {0x48, "---------y"},
    };
    const auto column = std::distance(table.begin(), table.find(to));
    return table.at(from)[static_cast<std::size_t>(column)] == 'y';
}

// A call that fails leaves the variant unchanged, and throws if asked to.
template <class Call>
void ExpectOutcome(const Value& variant, bool isAllowed, Call call) {
    const std::string before = variant->WriteValueToString(false);
    EXPECT_EQ(call(false), isAllowed);
    if (!isAllowed) {
        EXPECT_EQ(variant->WriteValueToString(false), before);
        EXPECT_THROW(call(true), VariantEx);
    }
}

// Elements convert as arrays do.
template <class E>
void CheckElements(const E& element, const Value& variant, bool canSet, bool canGet) {
    ExpectOutcome(variant, canSet,
                  [&](bool throws) { return variant->SetElement(1, element, throws); });
    ExpectOutcome(variant, canSet,
                  [&](bool throws) { return variant->AppendElement(element, throws); });
    ExpectOutcome(variant, canGet, [&](bool throws) {
        return (canGet || throws) &&
               variant->GetElement<E>(1) == variant->GetValueAs<std::vector<E>>()[1];
    });
    EXPECT_EQ(variant->GetNumberOfElements() == 3, canSet);
}

// Strings convert to and from everything of their shape, a single one also to and from arrays.
template <class T>
void CheckPair(const T& value, const Value& variant) {
    SCOPED_TRACE(std::string(typeid(T).name()) + " and " + variant->GetTypeName());
    constexpr int own = ElementTraits<typename ValueTraits<T>::Element>::Code;
    const int other = variant->GetTypeID() & 0xFF;
    const auto isAllowed = [&](int from, int to) {
        const bool isSameShape = ValueTraits<T>::IsArray == variant->IsArray();
        return (std::is_same_v<T, std::string> || isSameShape) &&
               (own == 0x80 || (other != 0x80 && IsInTable(from, to)));
    };
    const bool canSet = isAllowed(own, other);
    ExpectOutcome(variant, canSet, [&](bool throws) { return variant->SetValue(value, throws); });
    const bool canGet = isAllowed(other, own);
    T fetched{};
    ExpectOutcome(variant, canGet,
                  [&](bool throws) { return variant->GetValue(&fetched, throws); });
    EXPECT_TRUE(!canSet || !canGet || fetched == value);
    ExpectOutcome(variant, canGet, [&](bool throws) {
        return (canGet || throws) && variant->GetValueAs<T>() == fetched;
    });
    if constexpr (ValueTraits<T>::IsArray) {
        CheckElements(value.front(), variant, canSet, canGet);
    }
}

TEST(VariantConversionTest, EachPairOfTypesConvertsAsInTheTable) {
    ForEachElement([]<class E>(ElementTraits<E>) {
        ForEachElement([](const auto& traits) {
            for (const std::string text : {" 9", "[] 9`9"}) {
                const Value variant = test::MakeVariant(traits.Name + text);
                CheckPair(test::Sample<E>(5), variant);
                CheckPair(std::vector<E>(2, test::Sample<E>(5)), variant);
            }
        });
    });
}

TEST(VariantConversionTest, NumbersOfOtherTypesAreReadByWidthAndSign) {
    const Variant<long long> number(-5);
    EXPECT_EQ(number.GetValueAs<std::int64_t>(), -5);
    EXPECT_EQ(Variant<unsigned int>(5).GetValueAs<std::size_t>(), 5U);
    EXPECT_TRUE(Variant<unsigned char>(1).GetValueAs<bool>());
    EXPECT_EQ(Variant_ToNetworkOrder(std::size_t(1), true) >> (8 * (sizeof(std::size_t) - 1)), 1U);
    Variant<std::vector<unsigned long long>> sizes({1, 2});
    sizes.SetElement(1, std::size_t(7));
    sizes.AppendElement(true);
    EXPECT_EQ(sizes.GetElement<std::uint64_t>(1), 7U);
    EXPECT_EQ(sizes.GetValue(), (std::vector<unsigned long long>{1, 7, 1}));
}

TEST(VariantConversionTest, ARejectionNamesTheTypes) {
    Variant<std::vector<short>> array({1, 2});
    Variant<std::vector<short>> fixed({1}, true);
    Variant<int> scalar;
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { scalar.GetValueAs<bool>(); },
         "GetValueAs] A variant of type S32 can't be read as U8"},
        {[&] { array.GetElement<int>(2); },
         "GetElement] A variant of type S16[] has 2 elements, none at index 2"},
        {[&] { array.GetElement<float>(0); },
         "GetElement] A variant of type S16[] has no elements that can be read as F32"},
        {[&] { scalar.SetElement(0, 1); }, "SetElement] A variant of type S32 has no elements"},
        {[&] { array.SetElement(0, 5); },
         "SetElement] A variant of type S16[] takes no element 5 of type S32"},
        {[&] { array.SetElement(0, std::string("40000")); },
         "SetElement] A variant of type S16[] takes no element '40000' of type string"},
        {[&] { fixed.AppendElement(short(5)); },
         "AppendElement] A variant of type S16[1] keeps its number of elements"},
        {[&] { scalar.SetValueIfExact(0.5, true); },
         "SetValueIfExact] A variant of type S32 can't represent 0.5"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(test::ThrownBy(row.first), "VariantEx: [VariantBase::" + row.second);
    }
}

// Returns the text of a variant of the type after SetValueIfExact, empty if that fails.
template <class T>
std::string SetIfExact(const char* type, T number) {
    const Value variant = VariantBase::CreateByTypeName(type);
    return variant->SetValueIfExact(number) ? variant->GetValueAs<std::string>() : "";
}

TEST(VariantConversionTest, ANumberIsSetIfItIsExact) {
    constexpr double twoTo63 = 9223372036854775808.0;
    EXPECT_EQ(SetIfExact("U8", 255LL), "255");
    EXPECT_EQ(SetIfExact("U8", 256LL), "");
    EXPECT_EQ(SetIfExact("U8", -1), "");
    EXPECT_EQ(SetIfExact("S64", std::size_t(5)), "5");
    EXPECT_EQ(SetIfExact("S64", ~0ULL), "");
    EXPECT_EQ(SetIfExact("S64", -twoTo63), "-9223372036854775808");
    EXPECT_EQ(SetIfExact("S64", twoTo63), "");
    EXPECT_EQ(SetIfExact("S32", 5.5), "");
    EXPECT_EQ(SetIfExact("S32", std::nan("")), "");
    EXPECT_EQ(SetIfExact("F32", 1 << 24), "16777216");
    EXPECT_EQ(SetIfExact("F32", (1 << 24) + 1), "");
    EXPECT_EQ(SetIfExact("D64", std::numeric_limits<long long>::max()), "");
    EXPECT_EQ(SetIfExact("F32", 0.5), "0.5");
    EXPECT_EQ(SetIfExact("F32", 0.1), "");
    EXPECT_EQ(SetIfExact("F32", 1e300), "");
    EXPECT_EQ(SetIfExact("F32", HUGE_VAL), "inf");
    EXPECT_EQ(SetIfExact("F32", std::nan("")), "nan");
    EXPECT_EQ(SetIfExact("string", 5), "");
    EXPECT_EQ(SetIfExact("S32[]", 5), "");
}

TEST(VariantConversionTest, TextThatIsNoNumberKeepsTheNumbersBefore) {
    Variant<std::vector<int>> array({7, 8, 9});
    EXPECT_THROW(array.SetValue(std::vector<std::string>{"1", "x", "3"}, false), StringUtilsEx);
    EXPECT_THROW(ReadVectorValueFromStringImp<std::string>(&array, "2`x", false), StringUtilsEx);
    EXPECT_THROW(AddElementToVectorAsStringImp<std::string>(&array, -1, "x", false), StringUtilsEx);
    EXPECT_EQ(array.GetValue(), std::vector<int>{1});
    Variant<std::vector<int>> fixed({1, 2, 3}, true);
    EXPECT_FALSE(ReadVectorValueFromStringImp<std::string>(&fixed, "x`y", false));
    EXPECT_TRUE(array.SetValue(std::vector<std::string>{"4", "0x5"}, true));
    std::vector<std::string> texts{"kept"};
    EXPECT_TRUE(array.GetValue(&texts, true));
    EXPECT_EQ(texts, (std::vector<std::string>{"kept", "4", "5"}));
    std::vector<double> doubles{0.5};
    EXPECT_TRUE(array.GetValue(&doubles, true));
    EXPECT_EQ(doubles, (std::vector<double>{0.5, 4, 5}));
}

// Returns what a converter that is called directly makes of a number.
template <class Target, class Source>
Target Cast(Source number) {
    Variant<Target> variant;
    EXPECT_TRUE((VariantValueConverter<Source, Target>::SetValueImp(&variant, number, true)));
    return variant.GetValue();
}

TEST(VariantConversionTest, AConverterCastsWithADefinedResult) {
    using Int = std::numeric_limits<int>;
    EXPECT_EQ(Cast<unsigned char>(300), 44);
    EXPECT_EQ(Cast<int>(-1.9), -1);
    EXPECT_EQ(Cast<int>(1e300), Int::max());
    EXPECT_EQ(Cast<int>(-1e300), Int::min());
    EXPECT_EQ(Cast<int>(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(Cast<unsigned long long>(-1.9), 0U);
    EXPECT_EQ(Cast<unsigned long long>(18446744073709551615.0), ~0ULL);
    using Float = std::numeric_limits<float>;
    EXPECT_EQ(Cast<float>(1e300), Float::max());
    EXPECT_EQ(Cast<float>(-1e300), -Float::max());
    EXPECT_EQ(Cast<float>(-HUGE_VAL), -Float::infinity());
    EXPECT_TRUE(std::isnan(Cast<float>(std::numeric_limits<double>::quiet_NaN())));
}

TEST(VariantConversionTest, AClassMayReportAnotherSizeOrType) {
    // Reports the number of elements that an array with too many for an int reports.
    struct Long : Variant<std::vector<int>> {
        using Variant::Variant;
        int GetNumberOfElements() const override { return std::numeric_limits<int>::max(); }
    } array({1, 2, 3}, true);
    EXPECT_TRUE(array.SetValue(std::vector<int>(3), true));
    EXPECT_TRUE(array.SetValue(std::vector<std::string>(3, "1"), true));
    EXPECT_TRUE(array.SetValue(std::vector<short>(3), true));
    EXPECT_THROW(array.SetValue(std::vector<int>(2), true), VariantEx);
    EXPECT_EQ(array.GetTypeName(), "S32[3]");
    struct UserDefined : Variant<float> {
        int GetTypeID() const override { return 0x24; }
    } variant;
    int number = 7;
    EXPECT_FALSE(variant.SetValue(1, false));
    EXPECT_FALSE(variant.GetValue(&number, false));
    EXPECT_FALSE(variant.SetValue(std::string("1"), false));
    EXPECT_EQ(number, 7);
}

TEST(VariantConversionTest, InsertsAStringAmongStrings) {
    using Converter = VariantValueConverter<std::string, std::vector<std::string>>;
    using ToText = VariantValueConverter<std::vector<std::string>, std::string>;
    Variant<std::vector<std::string>> texts;
    std::string element = "b";
    EXPECT_TRUE(Converter::SetValueImp(&texts, "a`c", true));
    EXPECT_TRUE(Converter::AddElementToVector(-1, &texts, &element, true));
    EXPECT_TRUE(Converter::AddElementToVector(0, &texts, &element, true));
    EXPECT_THROW(Converter::AddElementToVector(4, &texts, &element, true), VariantEx);
    EXPECT_TRUE(ToText::GetValueImp(&texts, &element, true));
    EXPECT_EQ(element, "b`a`c`b");
}

}  // namespace
}  // namespace zel
