#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

namespace zel {
namespace {

using test::ForEachElement;
using test::Sample;
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
            const Value value = VariantBase::CreateByTypeName(name);
            ASSERT_TRUE(value->ReadValueFromString(bit != 0 ? "1`2`3" : "1", false));
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
            EXPECT_EQ(value->Clone()->GetTypeName(), name);
        }
    });
}

TEST(VariantTest, TheFactoryKnowsItsIdentifiersAndNoOthers) {
    const test::ScopedLogger log(5);
    log.logger->SetAreaLevel("Variant", 5);
    EXPECT_EQ(VariantBase::CreateByID(0x111)->GetTypeName(), "U8[0]");
    EXPECT_EQ(VariantBase::CreateByID(0x80)->GetTypeName(), "string");
    for (const int id : {0, 0x13, 0x1011, 0x1211, -1 & ~0x100, 0x200, 0x10, 0x311}) {
        EXPECT_FALSE(VariantBase::CreateByID(id)) << id;
    }
    EXPECT_EQ(log.sink->TakeText(), R"(
5 Variant [VariantBase::CreateVariantByID] Created variant of type std::vector< ::uint8_t >(id=529)
5 Variant [VariantBase::CreateVariantByID] Created variant of type std::string (id=128)
3 Variant [VariantBase::CreateVariantByID] Illegal type specifier passed (both variable-sized and fixed-size array flags asserted)!)");
    EXPECT_EQ(VariantBase::MakeID(false, 1), 0x11);
    EXPECT_EQ(VariantBase::MakeID(true, 8), 0x28);
}

TEST(VariantTest, ATypeNameIsReadAsItStands) {
    const std::pair<const char*, const char*> rows[] = {
        {"U8[4]", "U8[4]"},
        {"U8[0x10]", "U8[16]"},
        {"U8[4]junk", "U8[4]"},
        {"string[2]", "string[2]"},
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
        EXPECT_EQ(outcome + thrown, row.second);
        EXPECT_EQ(log.sink->TakeText().empty(), thrown.empty());
    }
}

TEST(VariantTest, LimitsAreThoseOfTheType) {
    const auto limits = [](const char* type) {
        const Value value = VariantBase::CreateByTypeName(type);
        value->ReadValueFromString("ab", false);
        value->SetMinimumValue();
        const std::string least = value->WriteValueToString(false);
        value->SetMaximumValue();
        return least + ' ' + value->WriteValueToString(false);
    };
    EXPECT_EQ(limits("U8"), "0 255");
    EXPECT_EQ(limits("string"), "\x01\x01 \xFF\xFF");
    EXPECT_EQ(limits("U64"), "0 18446744073709551615");
    EXPECT_EQ(limits("S8[2]"), "-128`-128 127`127");
    EXPECT_EQ(limits("S64"), "-9223372036854775808 9223372036854775807");
    EXPECT_EQ(limits("F32"), "1.1754944e-38 3.4028235e+38");
    EXPECT_EQ(limits("D64[1]"), "2.2250738585072014e-308 1.7976931348623157e+308");
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

TEST(VariantTest, OnlyANumericScalarIsADouble) {
    double value = 4;
    EXPECT_TRUE(Variant<unsigned long long>(~0ULL).GetValueAsDouble(&value, true));
    EXPECT_EQ(value, 18446744073709551616.0);
    const test::ScopedLogger log;
    EXPECT_FALSE(Variant<std::string>("12").GetValueAsDouble(&value, false));
    EXPECT_FALSE(Variant<std::vector<int>>({1}).GetValueAsDouble(&value, false));
    EXPECT_FALSE(Variant<double>().GetValueAsDouble(nullptr, false));
    EXPECT_EQ(log.sink->TakeText(), "");
    EXPECT_EQ(value, 18446744073709551616.0);
    EXPECT_EQ(ThrownBy([] { Variant<signed char>().GetValueAsDouble(nullptr, true); }),
              "VariantEx: [Variant< ::int8_t >::GetValueAsDouble] Unable to convert NULL pointer "
              "to double!");
    EXPECT_EQ(ThrownBy([&] { Variant<std::string>().GetValueAsDouble(&value, true); }),
              std::string("VariantEx: Unable to convert from ") + typeid(std::string).name() +
                  " to double!");
}

TEST(VariantTest, LogsAndThrowsForItsFamily) {
    const test::ScopedLogger log;
    log.logger->SetAreaLevel("Variant", 5);
    VariantBase::LogMessage(nullptr);
    VariantBase::LogDebugMessage(nullptr);
    VariantBase::Throw(nullptr);
    VariantBase::LogMessage("three");
    VariantBase::LogDebugMessage("five");
    EXPECT_EQ(ThrownBy([] { VariantBase::Throw("two"); }), "VariantEx: two");
    EXPECT_EQ(log.sink->TakeText(),
              "\n3 Variant three\n5 Variant five\n2 Variant Exception of type VariantEx. two");
}

// Reads and writes by the locked operations on two threads, and comparisons that cross.
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

template <class E, class V>
void CallConverters() {
    Variant<V> number;
    E back{};
    EXPECT_TRUE((VariantValueConverter<E, V>::SetValueImp(&number, E(1), true)));
    EXPECT_TRUE((VariantValueConverter<V, E>::GetValueImp(&number, &back, true)));
    using ToArray = VariantValueConverter<std::vector<E>, std::vector<V>>;
    using FromArray = VariantValueConverter<std::vector<V>, std::vector<E>>;
    Variant<std::vector<V>> array;
    std::vector<E> numbers{back};
    EXPECT_TRUE(ToArray::SetValueImp(&array, numbers, true));
    EXPECT_TRUE(FromArray::GetValueImp(&array, &numbers, true));
    EXPECT_EQ(numbers, (std::vector<E>{1, 1}));
}

// The exported templates but for those of the forms: that each instance links, and does something.
TEST(VariantTest, EveryInstanceOfTheOtherTemplatesIsExported) {
    ForEachElement([]<class E>(ElementTraits<E>) {
        std::vector<E> left{Sample<E>(1)};
        std::vector<E> right{Sample<E>(2)};
        EXPECT_FALSE(IsEqualImp(&left, &right, false, true));
        EXPECT_TRUE(IsLessThanImp(&left, &right, false, true));
        EXPECT_TRUE(IsLessThanOrEqualImp(&left, &right, false, true));
        EXPECT_FALSE(IsGreaterThanImp(&left, &right, false, true));
        EXPECT_FALSE(IsGreaterThanOrEqualImp(&left, &right, false, true));
        Variant_GetLimitsImp<E>::GetMax(left[0]);
        Variant_GetLimitsImp<E>::GetMin(right[0]);
        EXPECT_LT(right[0], left[0]);
        SetNumberOfElementsImp(&left, 3U);
        EXPECT_EQ(left.size(), 3U);
        if constexpr (NumericElement<E>) {
            EXPECT_EQ(Variant_ToNetworkOrder(Variant_ToNetworkOrder(E(1), true), true), E(1));
#define ZEL_CALL_CONVERTERS(V, ...) CallConverters<E, V>();
            ZEL_FOR_EACH_NUMERIC_ELEMENT(ZEL_CALL_CONVERTERS)
#undef ZEL_CALL_CONVERTERS
        }
    });
    EXPECT_EQ(Variant_ToNetworkOrder<unsigned short>(0x1234, true), 0x3412);
    EXPECT_EQ(Variant_ToNetworkOrder<signed char>(-3, true), -3);
    EXPECT_EQ(Variant_ToNetworkOrder(1, false), Variant_IsInNetworkOrder() ? 1 : 1 << 24);
}

}  // namespace
}  // namespace zel
