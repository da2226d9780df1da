#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"
#include "tests/support/VariantForms.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <thread>
#include <utility>

namespace zel {
namespace {

using test::ForEachElement;
using test::ThrownBy;
using Value = RCPtr<VariantBase>;

static_assert(!VariantValue<long> && !VariantValue<unsigned long> && !VariantValue<char>);
static_assert(!VariantValue<bool> && !VariantValue<const char*>);

TEST(VariantTest, EachTypeKnowsItsIdentifierNameAndSizes) {
    ForEachElement([]<class E>(ElementTraits<E> traits) {
        const std::pair<const char*, int> shapes[] = {{"", 0}, {"[]", 0x200}, {"[3]", 0x100}};
        for (const auto& [suffix, bit] : shapes) {
            const std::string name = traits.Name + std::string(suffix);
            SCOPED_TRACE(name);
            const Value value = test::MakeVariant(name + (bit != 0 ? " 1`2`3" : " 1"));
            const int count = bit != 0 ? 3 : 1;
            EXPECT_EQ(value->GetTypeID(), traits.Code | bit);
            EXPECT_EQ(value->GetTypeName(), name);
            EXPECT_EQ(value->GetNumberOfElements(), count);
            EXPECT_EQ(value->GetSizeOfElement(), static_cast<int>(sizeof(E)));
            EXPECT_EQ(value->GetSize(),
                      count * (NumericElement<E> ? value->GetSizeOfElement() : 1));
            EXPECT_EQ(value->GetTypeInfo(), bit != 0 ? typeid(std::vector<E>) : typeid(E));
            EXPECT_EQ(value->GetType(), value->GetTypeInfo().name());
            EXPECT_EQ(value->IsArray(), bit != 0);
            EXPECT_EQ(value->IsFixedSize(), bit == 0x100);
            EXPECT_EQ(value->Clone()->GetTypeName(), name);
        }
    });
}

TEST(VariantTest, TheFactoryKnowsItsIdentifiersAndNoOthers) {
    const test::ScopedLogger log;
    EXPECT_EQ(VariantBase::CreateByID(0x111)->GetTypeName(), "U8[0]");
    EXPECT_EQ(VariantBase::CreateByID(0x80)->GetTypeName(), "string");
    for (const int id : {0, 0x13, 0x1011, 0x1211, -1 & ~0x100, 0x200, 0x10, 0x311}) {
        EXPECT_FALSE(VariantBase::CreateByID(id)) << id;
    }
    EXPECT_EQ(log.sink->TakeText(), R"(
3 Variant [VariantBase::CreateVariantByID] Illegal type specifier passed (both variable-sized and fixed-size array flags asserted)!)");
    EXPECT_EQ(VariantBase::MakeID(false, 1), 0x11);
    EXPECT_EQ(VariantBase::MakeID(true, 8), 0x28);
}

TEST(VariantTest, ATypeNameIsReadOrRejected) {
    const std::pair<const char*, const char*> rows[] = {
        {"U8[0x10]", "U8[16]"},
        {"U8[4]junk", "U8[4]"},
        {"U8[0]", "U8[0]"},
        {"U8[", "Exception: Missing closing bracket in type: U8["},
        {"U8]", "Exception: Unknown Type: U8]"},
        {"Foo[3]", "Exception: Unknown Type: Foo[3]"},
        {"u8", "Exception: Unknown Type: u8"},
        {"", "Exception: Unknown Type: "},
        {"U8[abc]", "Exception: Unable to convert size of array (abc) to string."},
        {"U8[-1]", "Exception: Unable to convert size of array (-1) to string."},
        {"U8[2147483648]", "Exception: Unable to convert size of array (2147483648) to string."},
    };
    const test::ScopedLogger log;
    for (const auto& row : rows) {
        std::string outcome;
        const std::string thrown =
            ThrownBy([&] { outcome = VariantBase::CreateByTypeName(row.first)->GetTypeName(); });
        EXPECT_EQ(thrown.empty() ? outcome : thrown, row.second) << row.first;
        EXPECT_EQ(log.sink->TakeText().empty(), thrown.empty()) << row.first;
    }
}

TEST(VariantTest, LimitsAreThoseOfTheType) {
    const std::array<const char*, 3> rows[] = {
        {"string", "\x01\x01", "\xFF\xFF"},
        {"U64", "0", "18446744073709551615"},
        {"S8[2]", "-128`-128", "127`127"},
        {"F32", "1.1754944e-38", "3.4028235e+38"},
        {"D64[1]", "2.2250738585072014e-308", "1.7976931348623157e+308"},
    };
    for (const auto& [type, least, greatest] : rows) {
        const Value value = VariantBase::CreateByTypeName(type);
        value->ReadValueFromString("ab", false);
        value->SetMinimumValue();
        EXPECT_EQ(value->WriteValueToString(false), least) << type;
        value->SetMaximumValue();
        EXPECT_EQ(value->WriteValueToString(false), greatest) << type;
    }
}

TEST(VariantTest, ArraysChangeTheirLengthAndScalarsDoNot) {
    Variant<int> scalar(7, true);
    scalar.SetNumberOfElements(5);
    EXPECT_EQ(scalar.GetNumberOfElements(), 1);
    Variant<std::vector<int>> fixed({1, 2, 3}, true);
    fixed.SetNumberOfElements(2);
    EXPECT_EQ(fixed.GetTypeName(), "S32[2]");
    fixed.SetNumberOfElements(3);
    EXPECT_EQ(fixed.GetValue(), (std::vector<int>{1, 2, 0}));
    Variant<std::vector<int>> other;
    other = fixed;
    EXPECT_EQ(other.GetTypeName(), "S32[3]");
}

TEST(VariantTest, AValueIsMovedIntoAVariantOfItsType) {
    std::vector<int> numbers{1, 2};
    const int* const first = numbers.data();
    Variant<std::vector<int>> fixed(std::move(numbers), true);
    EXPECT_EQ(fixed.GetValue().data(), first);
    Variant<std::vector<int>> array;
    std::vector<int> three(3);
    const int* const firstOfThree = three.data();
    EXPECT_FALSE(fixed.SetValue(std::move(three), false));
    EXPECT_EQ(three.size(), 3U);
    EXPECT_TRUE(array.SetValue(std::move(three), true));
    EXPECT_EQ(array.GetValue().data(), firstOfThree);
    Variant<std::string> text;
    EXPECT_TRUE(text.SetValue(std::string("a text too long for the object"), true));
    EXPECT_EQ(text.GetValue(), "a text too long for the object");
    EXPECT_FALSE(Variant<std::string>("a", true).SetValue(std::string("b"), false));
}

TEST(VariantTest, OnlyANumericScalarIsADouble) {
    double value = 4;
    EXPECT_TRUE(Variant<unsigned long long>(~0ULL).GetValueAsDouble(&value, true));
    const test::ScopedLogger log;
    EXPECT_FALSE(Variant<std::string>("12").GetValueAsDouble(&value, false));
    EXPECT_FALSE(Variant<std::vector<int>>({1}).GetValueAsDouble(&value, false));
    EXPECT_FALSE(Variant<double>().GetValueAsDouble(nullptr, false));
    EXPECT_EQ(log.sink->TakeText(), "");
    EXPECT_EQ(value, 18446744073709551616.0);
    const std::string text = typeid(std::string).name();
    EXPECT_EQ(ThrownBy([] { Variant<signed char>().GetValueAsDouble(nullptr, true); }),
              "VariantEx: [Variant< ::int8_t >::GetValueAsDouble] Unable to convert NULL pointer "
              "to double!");
    EXPECT_EQ(ThrownBy([&] { Variant<std::string>().GetValueAsDouble(&value, true); }),
              "VariantEx: Unable to convert from " + text + " to double!");
}

TEST(VariantTest, LogsAndThrowsInItsLogArea) {
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("Variant", 5);
    EXPECT_EQ(ThrownBy([] { VariantBase::Throw(nullptr); }), "");
    VariantBase::LogMessage(nullptr);
    VariantBase::LogDebugMessage(nullptr);
    VariantBase::LogMessage("three");
    VariantBase::LogDebugMessage("five");
    EXPECT_EQ(ThrownBy([] { VariantBase::Throw("two"); }), "VariantEx: two");
    EXPECT_EQ(log.sink->TakeText(),
              "\n3 Variant three\n5 Variant five\n2 Variant Exception of type VariantEx. two");
}

// Two threads use the locked functions and compare in opposite directions.
TEST(VariantTest, ThreadsMayShareAVariant) {
    const Value left(new Variant<std::string>("xx"));
    const Value right(new Variant<std::string>("x"));
    const auto work = [](const Value& own, const Value& other) {
        std::string text;
        for (std::size_t round = 0; round < 2000; ++round) {
            EXPECT_TRUE(own->SetValue(std::string(round % 40, 'x'), true));
            EXPECT_TRUE(other->GetValue(&text, true));
            EXPECT_EQ(text.find_first_not_of('x'), std::string::npos);
            own->IsEqual(other, true, false, true);
            other->IsLessThan(own, true, false, true);
        }
    };
    std::thread crossing(work, right, left);
    work(left, right);
    crossing.join();
}

TEST(VariantTest, OtherTemplatesAreExported) {
    std::vector<int> array{1};
    SetNumberOfElementsImp(&array, 2U);
    Variant_GetLimitsImp<int>::GetMax(array[1]);
    EXPECT_EQ(array, (std::vector<int>{1, std::numeric_limits<int>::max()}));
    EXPECT_TRUE(IsEqualImp(&array, &array, false, true));
    EXPECT_EQ(Variant_ToNetworkOrder<unsigned short>(0x1234, true), 0x3412);
    EXPECT_EQ(Variant_ToNetworkOrder<signed char>(-3, true), -3);
    EXPECT_EQ(Variant_ToNetworkOrder(1, false), Variant_IsInNetworkOrder() ? 1 : 1 << 24);
}

}  // namespace
}  // namespace zel
