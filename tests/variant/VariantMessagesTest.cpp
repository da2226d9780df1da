#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

namespace zel {
namespace {

using test::ForEachElement;
using test::Sample;
using Lines = std::vector<std::string>;

// Collects what the family logs at all levels; a case compares one line whole.
class VariantMessagesTest : public testing::Test {
protected:
    VariantMessagesTest() { m_log.logger->SetAreaLevel("Variant", 6); }

    // The last line that a call logs.
    template <class Call>
    std::string LineOf(Call call) {
        m_log.sink->TakeLines();
        call();
        const Lines lines = m_log.sink->TakeLines();
        return lines.empty() ? "nothing" : lines.back();
    }

    test::ScopedLogger m_log;
    char m_block[64] = {};
    unsigned long long m_bytes = sizeof m_block;
    std::istringstream m_in{std::string(200, '\0')};
    std::ostringstream m_out;
};

#define EXPECT_LINE(call, ...) EXPECT_EQ(LineOf([&] { call; }), StringUtils::Format(__VA_ARGS__))

// Calls each instance of each free template from outside the library, without a variant.
TEST_F(VariantMessagesTest, ANullVariantIsReportedByEveryInstance) {
    ForEachElement([&]<class E>(ElementTraits<E> traits) {
        const bool isText = std::is_same_v<E, std::string>;
        const std::string form = isText ? "std::string" : "T";
        const std::string tag = sizeof(E) == 1 ? traits.Spelling : "T";
        const std::string into = "Invalid variant pointer passed into function";
        const std::string to = "Invalid variant pointer passed to function";
        const std::string toArray =
            isText ? "WriteVectorValueToStreamImp< std::string" : "WriteVectorValueToBufferImp< T";
        const struct {
            std::function<void()> call;
            std::string place;
            std::string what;
        } rows[] = {
            {[&] { ReadScalarValueFromStringImp<E>(nullptr, "1"); },
             "ReadScalarValueFromStringImp< " + form, into},
            {[&] { WriteScalarValueToStringImp<E>(nullptr); },
             "WriteScalarValueToStringImp< " + (isText ? form : tag), to},
            {[&] { ReadVectorValueFromStringImp<E>(nullptr, "1", false); },
             "ReadVectorValueFromStringImp< T", into},
            {[&] { WriteVectorValueToStringImp<E>(nullptr, false); },
             "WriteVectorValueToStringImp< " + tag, to},
            {[&] { AddElementToVectorAsStringImp<E>(nullptr, 0, "1", false); },
             "AddElementToVectorAsStringImp< " + tag, "Invalid pointer passed to function"},
            {[&] { RemoveElementFromVectorImp<E>(0, nullptr, false); },
             "RemoveElementFromVectorImp< std::vector< T >", to},
            {[&] { ReadScalarValueFromStreamImp<E>(nullptr, m_in); },
             "ReadScalarValueFromStreamImp< " + form, into},
            {[&] { WriteScalarValueToStreamImp<E>(nullptr, m_out); },
             "WriteScalarBufferToStreamImp< " + form, to},
            {[&] { ReadVectorValueFromStreamImp<E>(nullptr, m_in); },
             "ReadVectorValueFromStreamImp< " + form, into},
            {[&] { WriteVectorValueToStreamImp<E>(nullptr, m_out); }, toArray, to},
            {[&] { ReadScalarValueFromBufferImp<E>(nullptr, m_block, m_bytes); },
             "ReadScalarValueFromBufferImp< " + form, "Invalid pointer passed into function"},
            {[&] { WriteScalarValueToBufferImp<E>(nullptr, m_block, m_bytes); },
             "WriteScalarValueToBufferImp< " + form, to},
            {[&] { ReadVectorValueFromBufferImp<E>(nullptr, m_block, m_bytes, true); },
             "ReadVectorValueFromBufferImp< " + form, "Invalid pointer passed into function"},
            {[&] { WriteVectorValueToBufferImp<E>(nullptr, m_block, m_bytes, true); },
             "WriteVectorValueToBufferImp< " + form, to},
        };
        for (const auto& row : rows) {
            EXPECT_EQ(LineOf(row.call), "3 Variant [" + row.place + " >] " + row.what);
        }
    });
}

// The other exported templates: that each instance links, and does something.
TEST_F(VariantMessagesTest, EveryInstanceOfTheOtherTemplatesIsExported) {
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
            ForEachElement([]<class V>(ElementTraits<V>) {
                if constexpr (NumericElement<V>) {
                    Variant<V> target;
                    E back{};
                    EXPECT_TRUE((VariantValueConverter<E, V>::SetValueImp(&target, E(1), true)));
                    EXPECT_TRUE((VariantValueConverter<V, E>::GetValueImp(&target, &back, true)));
                    Variant<std::vector<V>> array;
                    std::vector<E> all{E(1)};
                    using ToArray = VariantValueConverter<std::vector<E>, std::vector<V>>;
                    using FromArray = VariantValueConverter<std::vector<V>, std::vector<E>>;
                    EXPECT_TRUE(ToArray::SetValueImp(&array, all, true));
                    EXPECT_TRUE(FromArray::GetValueImp(&array, &all, true));
                    EXPECT_EQ(all, (std::vector<E>{back, E(1)}));
                }
            });
        }
    });
}

TEST_F(VariantMessagesTest, TheTextFormSaysWhatIsWrong) {
    Variant<int> number(5);
    Variant<std::vector<int>> array({1, 2});
    Variant<std::vector<int>> fixed({1, 2}, true);
    Variant<std::vector<signed char>> bytes({1});
    Variant<std::vector<std::string>> fixedTexts({"a"}, true);
    const char* const ints = typeid(std::vector<int>).name();
    EXPECT_LINE(number.ReadValueFromString("", false),
                "3 Variant [ReadScalarValueFromStringImp< T >] Invalid string passed into "
                "function");
    EXPECT_LINE(number.ReadValueFromString("x", false),
                "3 Variant [ReadScalarValueFromStringImp< T >] Unable to read value x into "
                "variant of type 36");
    EXPECT_LINE(ReadScalarValueFromStringImp<int>(&array, "7"),
                "3 Variant [ReadScalarValueFromStringImp< T >] Unable to set value 7 into variant "
                "of type 548");
    EXPECT_LINE(ReadScalarValueFromStringImp<std::string>(&number, "7"),
                "3 Variant [ReadScalarValueFromStringImp< std::string >] Unable to set value 7 "
                "into variant of type 36");
    EXPECT_LINE(WriteScalarValueToStringImp<signed char>(&array),
                "3 Variant [WriteScalarValueToStringImp< ::int8_t >] Unable to get value from "
                "variant of type 548 to write to string");
    EXPECT_LINE(WriteScalarValueToStringImp<std::string>(&number),
                "3 Variant [WriteScalarValueToStringImp< std::string >] Unable to get value from "
                "variant of type 36 to write to string");
    EXPECT_LINE(array.ReadValueFromString("5", true),
                "3 Variant [ReadVectorValueFromStringImp< T >] Not enough elements in this string "
                "(1) for a valid vector!");
    EXPECT_LINE(array.ReadValueFromString("x`1", true),
                "3 Variant [ReadVectorValueFromStringImp< T >] Unable to read number of values "
                "from x`1");
    EXPECT_LINE(array.ReadValueFromString("3`7`8", true),
                "3 Variant [ReadVectorValueFromStringImp< T >] There should be 3 elements in the "
                "vector, but there are only 2...");
    EXPECT_LINE(bytes.ReadValueFromString("1`x", false),
                "3 Variant [ReadVectorValueFromStringImp< ::int8_t >] Unable to read value x into "
                "variant of type 545");
    EXPECT_LINE(fixed.ReadValueFromString("1", false),
                "3 Variant [ReadVectorValueFromStringImp< T >] Unable to set value 1 into variant "
                "of type 292");
    EXPECT_LINE(fixedTexts.ReadValueFromString("a`b", false),
                "3 Variant [ReadVectorValueFromStringImp< T >] Unable to set value a`b into "
                "variant of type string[1]");
    EXPECT_LINE(WriteVectorValueToStringImp<unsigned char>(&number, false),
                "3 Variant [WriteVectorValueToStringImp< ::uint8_t >] Unable to get value from "
                "variant of type 36 to write to string");
    EXPECT_LINE(array.AddElementToVectorAsString(0, nullptr, false),
                "3 Variant [VariantBase::AddElementToVectorAsString] Invalid string value passed "
                "to function");
    EXPECT_LINE(array.AddElementToVectorAsString(0, "x", false),
                "3 Variant [AddElementToVectorAsStringImp< T >] Unable to turn x into value of "
                "type %s",
                typeid(int).name());
    EXPECT_LINE(bytes.AddElementToVectorAsString(0, "-129", false),
                "3 Variant [AddElementToVectorAsStringImp< ::int8_t >] Value -129 is out of range "
                "for a ::int8_t");
    EXPECT_LINE(
        (Variant<std::vector<unsigned char>>().AddElementToVectorAsString(-1, "256", false)),
        "3 Variant [AddElementToVectorAsStringImp< ::uint8_t >] Value 256 is out of range "
        "for ::uint8_t");
    EXPECT_LINE(AddElementToVectorAsStringImp<int>(&number, 0, "1", false),
                "3 Variant [AddElementToVectorAsStringImp< T >] Unable to retrieve value vector of "
                "type %s from variant of type %s",
                typeid(int).name(), typeid(int).name());
    EXPECT_LINE(array.AddElementToVectorAsString(2, "1", false),
                "3 Variant [AddElementToVectorAsStringImp< T >] Unable to insert element at index "
                "2");
    EXPECT_LINE(fixed.AddElementToVectorAsString(0, "1", false),
                "3 Variant [AddElementToVectorAsStringImp< T >] Unable to reset value vector to "
                "variant");
    EXPECT_LINE(RemoveElementFromVectorImp<int>(3, &number, false),
                "3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Unable to get vector "
                "to remove 3th element");
    EXPECT_LINE(RemoveElementFromVectorImp<int>(1, &fixed, false),
                "3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Unable to reset vector "
                "to variant");
    EXPECT_LINE(number.SetValue(std::string("6"), false), "nothing");
    std::string text;
    EXPECT_LINE(array.VariantBase::GetValue(&text, false),
                "5 Variant [VariantBase::GetValue] Able to secondarily convert variant value of "
                "type %s to object of type %s",
                ints, typeid(std::string).name());
}

TEST_F(VariantMessagesTest, TheStreamFormSaysWhatIsWrongAndWhatWentWell) {
    Variant<int> number(5);
    Variant<std::string> text("ab");
    Variant<std::vector<int>> array({1, 2});
    Variant<std::vector<std::string>> texts({"a"});
    const char* const name = typeid(int).name();
    EXPECT_LINE(WriteScalarValueToStreamImp<int>(&array, m_out),
                "3 Variant [WriteScalarBufferToStreamImp< T >] Unable to convert variant of type "
                "548 to object of type %s",
                name);
    EXPECT_LINE(ReadScalarValueFromStreamImp<int>(&array, m_in),
                "3 Variant [ReadScalarValueFromStreamImp< T >] Unable to set variant of type 548 "
                "with object of type %s",
                name);
    EXPECT_LINE(ReadScalarValueFromStreamImp<std::string>(&number, m_in),
                "3 Variant [ReadScalarValueFromStreamImp< std::string >] Unable to set variant of "
                "type 36 with object of type std::string");
    EXPECT_LINE(WriteVectorValueToStreamImp<int>(&number, m_out),
                "3 Variant [WriteVectorValueToBufferImp< T >] Unable to get value as vector of %s, "
                "type is 36",
                name);
    EXPECT_LINE(WriteVectorValueToStreamImp<std::string>(&number, m_out),
                "3 Variant [WriteVectorValueToStreamImp< std::string >] Unable to get value as "
                "vector of std::string, type is 36");
    EXPECT_LINE(ReadVectorValueFromStreamImp<int>(&number, m_in),
                "3 Variant [ReadVectorValueFromStreamImp< T >] Unable to set variant of type 36 "
                "with object of type %s",
                name);
    EXPECT_LINE(ReadVectorValueFromStreamImp<std::string>(&number, m_in),
                "3 Variant [ReadVectorValueFromStreamImp< std::string >] Unable to set variant of "
                "type 36 with object of type std::string");
    EXPECT_LINE(number.WriteValueToStream(m_out),
                "6 Variant [WriteScalarBufferToStreamImp< T >] Successfully wrote variant of type "
                "36 to stream...");
    EXPECT_LINE(text.WriteValueToStream(m_out),
                "6 Variant [WriteScalarBufferToStreamImp< std::string >] Successfully wrote "
                "variant of type 128 to stream...");
    EXPECT_LINE(array.WriteValueToStream(m_out),
                "6 Variant [WriteVectorValueToBufferImp< T >] Successfully wrote variant with 2 "
                "elements and type 548 to stream...");
    EXPECT_LINE(texts.WriteValueToStream(m_out),
                "6 Variant [WriteVectorValueToStreamImp< std::string >] Successfully wrote variant "
                "with 1 elements and type 640 to stream...");
    EXPECT_LINE(array.ReadValueFromStream(m_in),
                "6 Variant [ReadVectorValueFromStreamImp< T >] Current vector has 0 elements");
    EXPECT_LINE(texts.ReadValueFromStream(m_in),
                "6 Variant [ReadVectorValueFromStreamImp< std::string >] Current vector has 0 "
                "elements");
}

TEST_F(VariantMessagesTest, TheBufferFormSaysWhatIsWrongAndWhatWentWell) {
    Variant<int> number(5);
    Variant<std::string> text("ab");
    Variant<std::vector<int>> array({1, 2});
    Variant<std::vector<std::string>> texts({"a"});
    const char* const name = typeid(int).name();
    const auto withBytes = [&](unsigned long long bytes) -> unsigned long long& {
        return m_bytes = bytes;
    };
    EXPECT_LINE(WriteScalarValueToBufferImp<int>(&array, m_block, withBytes(9)),
                "3 Variant [WriteScalarValueToBufferImp< T >] Unable to convert variant of type "
                "548 to object of type %s",
                name);
    EXPECT_LINE(text.WriteValueToBuffer(m_block, withBytes(2), false),
                "3 Variant [WriteScalarValueToBufferImp< std::string >] Trying to write 3 bytes to "
                "buffer that only has 2 bytes available");
    EXPECT_LINE(number.ReadValueFromBuffer(m_block, withBytes(3), false),
                "3 Variant [ReadScalarValueFromBufferImp< T >] Trying to read 4 bytes from buffer "
                "for type %s but only 3 bytes are available",
                name);
    EXPECT_LINE(ReadScalarValueFromBufferImp<int>(&array, m_block, withBytes(9)),
                "3 Variant [ReadScalarValueFromBufferImp< T >] Unable to set variant of type 548 "
                "with value of type %s",
                name);
    EXPECT_LINE(ReadScalarValueFromBufferImp<std::string>(&number, m_block, withBytes(9)),
                "3 Variant [ReadScalarValueFromBufferImp< std::string >] Unable to set variant of "
                "type 36 with value of type std::string");
    EXPECT_LINE(WriteVectorValueToBufferImp<std::string>(&number, m_block, withBytes(9), true),
                "3 Variant [WriteVectorValueToBufferImp< std::string >] Unable to get value as "
                "vector of std::string, type is 36");
    EXPECT_LINE(array.WriteValueToBuffer(m_block, withBytes(15), true),
                "3 Variant [WriteVectorValueToBufferImp< T >] Full size of vector is 16, but only "
                "15 bytes are available");
    EXPECT_LINE(ReadVectorValueFromBufferImp<std::string>(&array, m_block, withBytes(9), false),
                "3 Variant [ReadVectorValueFromBufferImp< T >] Unable to determine size from "
                "existing vector");
    EXPECT_LINE(texts.ReadValueFromBuffer(m_block, withBytes(7), true),
                "3 Variant [ReadVectorValueFromBufferImp< std::string >] Not enough bytes to "
                "specify the size of the vector");
    EXPECT_LINE(array.ReadValueFromBuffer(m_block, withBytes(7), false),
                "3 Variant [ReadVectorValueFromBufferImp< T >] 7 bytes are not enough to hold to "
                "hold 2 elements of type %s and size descriptor",
                name);
    m_block[7] = 2;
    EXPECT_LINE(texts.ReadValueFromBuffer(m_block, withBytes(9), true),
                "3 Variant [ReadVectorValueFromBufferImp< std::string >] 9 bytes are not enough to "
                "hold 2 strings (or null termination is missing)");
    EXPECT_LINE(ReadVectorValueFromBufferImp<int>(&number, m_block, withBytes(64), true),
                "3 Variant [ReadVectorValueFromBufferImp< T >] Unable to set value of type %s into "
                "variant of type 36",
                name);
    EXPECT_LINE(ReadVectorValueFromBufferImp<std::string>(&number, m_block, withBytes(64), true),
                "3 Variant [ReadVectorValueFromBufferImp< std::string >] Unable to set value of "
                "type std::vector< std::string > into variant of type 36");
    EXPECT_LINE(array.ReadValueFromBuffer(m_block, withBytes(64), true),
                "6 Variant [ReadVectorValueFromBufferImp< T >] This vector has 2 elements...");
    EXPECT_LINE(number.WriteValueToBuffer(m_block, withBytes(64), true),
                "6 Variant [WriteScalarValueToBufferImp< T >] Successfully wrote 4 bytes for "
                "variant of type 36 to buffer...");
    EXPECT_LINE(text.WriteValueToBuffer(m_block, withBytes(64), true),
                "6 Variant [WriteScalarValueToBufferImp< std::string >] Successfully wrote 3 bytes "
                "for variant of type 128 to buffer...");
    EXPECT_LINE(array.WriteValueToBuffer(m_block, withBytes(64), true),
                "6 Variant [WriteVectorValueToBufferImp< T >] Successfully wrote 16 bytes for "
                "variant with 2 elements and type 548...");
    EXPECT_LINE(texts.WriteValueToBuffer(m_block, withBytes(64), false),
                "6 Variant [WriteVectorValueToBufferImp< std::string >] Successfully wrote 2 bytes "
                "for variant with 1 elements and type 640...");
}

}  // namespace
}  // namespace zel
