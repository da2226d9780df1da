#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

namespace zel {
namespace {

using test::ForEachElement;
using test::Sample;
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
std::string Expected(const char* operation, int source, int target, int caller, int variant) {
    const bool isArray = (caller & 0x300) != 0;
    if ((caller & 0xFF) == 0x80 && !isArray) {
        return "ok";
    }
    const std::string place = std::string("[VariantBase::") + operation + "] ";
    const bool isSet = std::string_view(operation) == "SetValue";
    if (isSet && !isArray && (variant & 0x100) != 0) {
        return place + "Source array has 1 elements, but variant is fixed at 2 elements";
    }
    if (isArray != ((variant & 0x300) != 0)) {
        return place + "Source and target cannot agree on array type";
    }
    if ((caller & 0xFF) == 0x80) {
        return "ok";
    }
    if ((variant & 0xFF) == 0x80) {
        return "[VariantValueConverter< ";
    }
    if (IsInTable(source & 0xFF, target & 0xFF)) {
        return "ok";
    }
    return place +
           (isSet ? "Unable to Convert to variant type " : "Unable to convert from variant type ");
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
    const int caller = ValueTraits<T>::Code;
    const int id = variant->GetTypeID();
    // Text goes in by the text form, where a single one doesn't fill an array of two.
    const bool isTooShort = std::is_same_v<T, std::string> && (id & 0x100) != 0;
    const std::string setOutcome = isTooShort ? "[VariantBase::SetValue] Source"
                                              : Expected("SetValue", caller, id, caller, id);
    ExpectOutcome(variant, setOutcome,
                  [&](bool throwOnError) { return variant->SetValue(value, throwOnError); });
    ExpectOutcome(variant, Expected("GetValue", id, caller, caller, id), [&](bool throwOnError) {
        T fetched{};
        const bool isDone = variant->GetValue(&fetched, throwOnError);
        EXPECT_TRUE(!isDone || setOutcome != "ok" || fetched == value);
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
        if constexpr (NumericElement<E>) {
            CheckRow(Sample<E>(5));
            CheckRow(std::vector<E>{Sample<E>(1), Sample<E>(2)});
        } else {
            CheckRow<E>("5");
            CheckRow(std::vector<E>{"1", "2"});
        }
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
    EXPECT_TRUE(array.VariantBase::GetValue(&texts, true));
    EXPECT_EQ(texts, (std::vector<std::string>{"kept", "4", "5"}));
    std::vector<double> doubles{0.5};
    EXPECT_TRUE(array.VariantBase::GetValue(&doubles, true));
    EXPECT_EQ(doubles, (std::vector<double>{0.5, 4, 5}));
}

TEST(VariantConversionTest, AConverterOfItsOwnCastsWithADefinedResult) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        double from;
        int toInt;
        unsigned long long toU64;
    } rows[] = {
        {-1.9, -1, 0},
        {1e300, std::numeric_limits<int>::max(), ~0ULL},
        {-1e300, std::numeric_limits<int>::min(), 0},
        {2147483647.5, std::numeric_limits<int>::max(), 2147483647},
        {18446744073709551615.0, std::numeric_limits<int>::max(), ~0ULL},
        {nan, 0, 0},
    };
    for (const auto& row : rows) {
        Variant<int> narrow;
        EXPECT_TRUE((VariantValueConverter<double, int>::SetValueImp(&narrow, row.from, true)));
        EXPECT_EQ(narrow.GetValue(), row.toInt) << row.from;
        const Variant<double> source(row.from);
        unsigned long long wide = 1;
        EXPECT_TRUE(
            (VariantValueConverter<double, unsigned long long>::GetValueImp(&source, &wide, true)));
        EXPECT_EQ(wide, row.toU64) << row.from;
    }
    Variant<unsigned char> byte;
    EXPECT_TRUE((VariantValueConverter<int, unsigned char>::SetValueImp(&byte, 300, true)));
    EXPECT_EQ(byte.GetValue(), 44);
}

// A class outside the 22, although its identifier is one of theirs.
class Foreign : public VariantBase {
    using Other = Value;

public:
    std::string GetType() const override { return "Foreign"; }
    const std::type_info& GetTypeInfo() const override { return typeid(Foreign); }
    int GetTypeID() const override { return 0x24; }
    int GetNumberOfElements() const override { return 1; }
    void SetNumberOfElements(unsigned) override {}
    int GetSizeOfElement() const override { return 1; }
    int GetSize() const override { return 1; }
    bool GetValueAsDouble(double*, bool) const override { return false; }
    Other Clone() const override { return nullptr; }
    void SetMinimumValue() override {}
    void SetMaximumValue() override {}
    bool IsEqual(Other, bool, bool, bool) const override { return false; }
    bool IsLessThan(Other, bool, bool, bool) const override { return false; }
    bool IsLessThanOrEqualTo(Other, bool, bool, bool) const override { return false; }
    bool IsGreaterThan(Other, bool, bool, bool) const override { return false; }
    bool IsGreaterThanOrEqualTo(Other, bool, bool, bool) const override { return false; }
};

TEST(VariantConversionTest, AForeignClassIsRefused) {
    Foreign foreign;
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
    EXPECT_FALSE(Converter::AddElementToVector(3, &texts, &element, false));
    EXPECT_EQ(texts.GetValue(), (std::vector<std::string>{"b", "a", "b"}));
    Variant<std::vector<std::string>> fixed({"a"}, true);
    EXPECT_THROW(Converter::AddElementToVector(-1, &fixed, &element, true), VariantEx);
    EXPECT_EQ(fixed.GetNumberOfElements(), 1);
}

}  // namespace
}  // namespace zel
