#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

namespace zel {
namespace {

using test::ForEachElement;
using Value = RCPtr<VariantBase>;

// The rule of conversion, row by row: from the type of the row to the types U8 U16 U32 U64 S8 S16
// S32 S64 F32 D64 in this order.
bool IsInTable(int from, int to) {
    static const std::map<int, std::string> table = {
        {0x11, "yyyy-----y"}, {0x12, "-yyy-----y"}, {0x14, "--yy-----y"}, {0x18, "---y-----y"},
        {0x21, "----yyyy-y"}, {0x22, "-----yyy-y"}, {0x24, "------yy-y"}, {0x28, "-------y-y"},
        {0x44, "--------yy"}, {0x48, "---------y"},
    };
    return table.at(from)[static_cast<std::size_t>(std::distance(table.begin(), table.find(to)))] ==
           'y';
}

// How the outcome of one cell begins: "ok", or the first words of the first line that is logged.
std::string Expected(bool isSet, int caller, int variant) {
    const std::string place = isSet ? "[VariantBase::SetValue] " : "[VariantBase::GetValue] ";
    const bool isArray = (caller & 0x300) != 0;
    const bool isText = (caller & 0xFF) == 0x80;
    if (isSet && !isArray && (variant & 0x100) != 0) {
        return place + "Source array has 1 elements, but variant is fixed at 2 elements";
    }
    if ((!isText || isArray) && isArray != ((variant & 0x300) != 0)) {
        return place + "Source and target cannot agree on array type";
    }
    if (!isText && (variant & 0xFF) == 0x80) {
        return "[VariantValueConverter< ";
    }
    const int from = isSet ? caller : variant;
    if (isText || IsInTable(from & 0xFF, (isSet ? variant : caller) & 0xFF)) {
        return "ok";
    }
    return place +
           (isSet ? "Unable to Convert to variant" : "Unable to convert from variant type ");
}

// Compares the outcome of a call, on a variant that must be unchanged after a failure.
template <class Call>
void ExpectOutcome(const Value& variant, const std::string& expected, Call call) {
    const test::ScopedLogger log;
    const std::string before = variant->WriteValueToString(false);
    const bool isDone = call(false);
    const std::string text = log.sink->TakeText();
    EXPECT_EQ(isDone ? "ok" : text.substr(std::string("\n3 Variant ").size(), expected.size()),
              expected);
    if (!isDone) {
        EXPECT_EQ(variant->WriteValueToString(false), before);
        EXPECT_THROW(call(true), VariantEx);
    }
}

template <class T>
void CheckCell(const T& value, const Value& variant) {
    SCOPED_TRACE(std::string(typeid(T).name()) + " and " + variant->GetTypeName());
    const int id = variant->GetTypeID();
    const std::string ofSet = Expected(true, ValueTraits<T>::Code, id);
    ExpectOutcome(variant, ofSet,
                  [&](bool throwOnError) { return variant->SetValue(value, throwOnError); });
    ExpectOutcome(variant, Expected(false, ValueTraits<T>::Code, id), [&](bool throwOnError) {
        T fetched{};
        const bool isDone = variant->GetValue(&fetched, throwOnError);
        EXPECT_TRUE(!isDone || ofSet != "ok" || fetched == value);
        return isDone;
    });
}

// A variant of each of the 33 kinds, made anew for each cell.
template <class T>
void CheckRow(const T& value) {
    ForEachElement([&]<class V>(ElementTraits<V> traits) {
        for (const char* suffix : {"", "[]", "[2]"}) {
            const Value variant = VariantBase::CreateByTypeName(traits.Name + std::string(suffix));
            variant->ReadValueFromString(*suffix == '\0' ? "9" : "9`9", false);
            CheckCell(value, variant);
        }
    });
}

TEST(VariantConversionTest, EachPairOfTypesHasTheOutcomeOfTheTable) {
    ForEachElement([]<class E>(ElementTraits<E>) {
        Variant<E> five;
        Variant<std::vector<E>> two;
        EXPECT_TRUE(five.ReadValueFromString("5", false) && two.ReadValueFromString("1`2", false));
        CheckRow(five.GetValue());
        CheckRow(two.GetValue());
    });
}

TEST(VariantConversionTest, TextThatIsNoNumberLeavesWhatCameBefore) {
    Variant<std::vector<int>> array({7, 8, 9});
    EXPECT_THROW(array.SetValue(std::vector<std::string>{"1", "x", "3"}, false), StringUtilsEx);
    EXPECT_EQ(array.GetValue(), std::vector<int>{1});
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

// What a converter that is called directly makes of a number.
template <class Target, class Source>
Target Cast(Source number) {
    Variant<Target> variant;
    EXPECT_TRUE((VariantValueConverter<Source, Target>::SetValueImp(&variant, number, true)));
    return variant.GetValue();
}

TEST(VariantConversionTest, AConverterOfItsOwnCastsWithADefinedResult) {
    using Int = std::numeric_limits<int>;
    EXPECT_EQ(Cast<unsigned char>(300), 44);
    EXPECT_EQ(Cast<int>(-1.9), -1);
    EXPECT_EQ(Cast<int>(2147483647.5), Int::max());
    EXPECT_EQ(Cast<int>(1e300), Int::max());
    EXPECT_EQ(Cast<int>(-1e300), Int::min());
    EXPECT_EQ(Cast<int>(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(Cast<unsigned long long>(-1.9), 0U);
    EXPECT_EQ(Cast<unsigned long long>(2147483647.5), 2147483647U);
    EXPECT_EQ(Cast<unsigned long long>(18446744073709551615.0), ~0ULL);
}

TEST(VariantConversionTest, AClassThatGivesAnotherIdentifierIsRefused) {
    struct Foreign : Variant<float> {
        int GetTypeID() const override { return 0x24; }
    } foreign;
    int number = 7;
    EXPECT_FALSE(foreign.SetValue(1, false));
    EXPECT_FALSE(foreign.GetValue(&number, false));
    EXPECT_FALSE(foreign.SetValue(std::string("1"), false));
    EXPECT_EQ(number, 7);
}

TEST(VariantConversionTest, InsertsAStringAmongStrings) {
    using Converter = VariantValueConverter<std::string, std::vector<std::string>>;
    Variant<std::vector<std::string>> texts({"a"});
    std::string element = "b";
    EXPECT_TRUE(Converter::AddElementToVector(-1, &texts, &element, true));
    EXPECT_TRUE(Converter::AddElementToVector(0, &texts, &element, true));
    EXPECT_THROW(Converter::AddElementToVector(3, &texts, &element, true), VariantEx);
    using ToText = VariantValueConverter<std::vector<std::string>, std::string>;
    EXPECT_TRUE(ToText::GetValueImp(&texts, &element, true));
    EXPECT_EQ(element, "b`a`b");
    EXPECT_TRUE(Converter::SetValueImp(&texts, "c`d", true));
    EXPECT_EQ(texts.GetValue(), (std::vector<std::string>{"c", "d"}));
}

}  // namespace
}  // namespace zel
