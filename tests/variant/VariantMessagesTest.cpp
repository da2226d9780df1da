#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <utility>

namespace zel {
namespace {

using test::ForEachElement;
using Call = std::function<void()>;

// What the family logs at all levels.
class VariantMessagesTest : public testing::Test {
protected:
    VariantMessagesTest() { m_log.logger->SetAreaLevel("Variant", 6); }

    // The last line that each of the calls logs.
    std::string LinesOf(const std::vector<Call>& calls) {
        std::string lines;
        for (const Call& call : calls) {
            m_log.sink->TakeText();
            call();
            const std::string text = m_log.sink->TakeText();
            lines += text.empty() ? "\nnothing" : text.substr(text.rfind('\n'));
        }
        return lines;
    }

    unsigned long long& WithBytes(unsigned long long bytes) { return m_bytes = bytes; }

    // Reads bytes that aren't enough.
    static void ReadShort(const char* type, const std::string& bytes,
                          std::ios_base::iostate thrown = {}) {
        std::istringstream in(bytes);
        in.exceptions(thrown);
        EXPECT_FALSE(VariantBase::CreateByTypeName(type)->ReadValueFromStream(in));
    }

    test::ScopedLogger m_log;
    char m_block[64] = {};
    unsigned long long m_bytes = sizeof m_block;
    std::istringstream m_in{std::string(200, '\0')};
    std::ostringstream m_out;
    Variant<int> m_number{5};
    Variant<std::string> m_text{"ab"};
    Variant<std::vector<int>> m_array{{1, 2}};
    Variant<std::vector<int>> m_fixed{{1, 2}, true};
    Variant<std::vector<std::string>> m_texts{{"a"}};
};

using Names = std::vector<std::pair<std::string, std::string>>;

// Puts the names of what the marks stand for into a text.
std::string Filled(std::string text, const Names& names) {
    for (const auto& [mark, name] : names) {
        for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos;) {
            text.replace(at, mark.size(), name);
        }
    }
    return text;
}

std::string WithTypes(const char* text) {
    return Filled(text, {{"{int}", typeid(int).name()},
                         {"{short}", typeid(short).name()},
                         {"{long}", typeid(long long).name()},
                         {"{string}", typeid(std::string).name()},
                         {"{ints}", typeid(std::vector<int>).name()},
                         {"{strings}", typeid(std::vector<std::string>).name()}});
}

const char* const s_linesOfNull = R"(
3 Variant [ReadScalarValueFromStringImp< {form} >] Invalid variant pointer passed into function
3 Variant [WriteScalarValueToStringImp< {own} >] Invalid variant pointer passed to function
3 Variant [ReadVectorValueFromStringImp< T >] Invalid variant pointer passed into function
3 Variant [WriteVectorValueToStringImp< {tag} >] Invalid variant pointer passed to function
3 Variant [AddElementToVectorAsStringImp< {tag} >] Invalid pointer passed to function
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Invalid variant pointer passed to function
3 Variant [ReadScalarValueFromStreamImp< {form} >] Invalid variant pointer passed into function
3 Variant [WriteScalarBufferToStreamImp< {form} >] Invalid variant pointer passed to function
3 Variant [ReadVectorValueFromStreamImp< {form} >] Invalid variant pointer passed into function
3 Variant [WriteVectorValueTo{sink}Imp< {form} >] Invalid variant pointer passed to function
3 Variant [ReadScalarValueFromBufferImp< {form} >] Invalid pointer passed into function
3 Variant [WriteScalarValueToBufferImp< {form} >] Invalid variant pointer passed to function
3 Variant [ReadVectorValueFromBufferImp< {form} >] Invalid pointer passed into function
3 Variant [WriteVectorValueToBufferImp< {form} >] Invalid variant pointer passed to function)";

// Calls each instance of each free template from outside the library, without a variant.
TEST_F(VariantMessagesTest, ANullVariantIsReportedByEveryInstance) {
    ForEachElement([&]<class E>(ElementTraits<E> traits) {
        const bool isText = std::is_same_v<E, std::string>;
        const std::string tag = sizeof(E) == 1 ? traits.Spelling : "T";
        const Names names = {{"{form}", isText ? "std::string" : "T"},
                             {"{tag}", tag},
                             {"{own}", isText ? "std::string" : tag},
                             {"{sink}", isText ? "Stream" : "Buffer"}};
        ReadScalarValueFromStringImp<E>(nullptr, "1");
        WriteScalarValueToStringImp<E>(nullptr);
        ReadVectorValueFromStringImp<E>(nullptr, "1", false);
        WriteVectorValueToStringImp<E>(nullptr, false);
        AddElementToVectorAsStringImp<E>(nullptr, 0, "1", false);
        RemoveElementFromVectorImp<E>(0, nullptr, false);
        ReadScalarValueFromStreamImp<E>(nullptr, m_in);
        WriteScalarValueToStreamImp<E>(nullptr, m_out);
        ReadVectorValueFromStreamImp<E>(nullptr, m_in);
        WriteVectorValueToStreamImp<E>(nullptr, m_out);
        ReadScalarValueFromBufferImp<E>(nullptr, m_block, m_bytes);
        WriteScalarValueToBufferImp<E>(nullptr, m_block, m_bytes);
        ReadVectorValueFromBufferImp<E>(nullptr, m_block, m_bytes, true);
        WriteVectorValueToBufferImp<E>(nullptr, m_block, m_bytes, true);
        EXPECT_EQ(m_log.sink->TakeText(), Filled(s_linesOfNull, names));
    });
}

TEST_F(VariantMessagesTest, ConversionSaysWhatIsRefusedAndWhy) {
    using FromStrings = VariantValueConverter<std::string, std::string>;
    Variant<std::vector<int>> one({1}, true);
    Variant<std::vector<long long>> none({}, true);
    Variant<long long> wide;
    Variant<short> narrow;
    std::vector<int> ints{1, 2};
    std::string string;
    m_fixed.SetValue(std::vector<int>{1}, false);
    m_fixed.SetValue(1, false);
    one.SetValue(1, false);
    m_array.VariantBase::GetValue(&ints[0], false);
    narrow.SetValue(5, false);
    wide.VariantBase::GetValue(&ints[0], false);
    m_text.SetValue(1, false);
    m_texts.SetValue(ints, false);
    m_text.VariantBase::GetValue(&ints[0], false);
    m_texts.VariantBase::GetValue(&ints, false);
    none.SetValue(ints, false);
    VariantValueConverter<int, long long>::SetValueImp(&narrow, 1, false);
    FromStrings::SetValueImp(nullptr, "", true);
    wide.SetValue(1, false);
    m_array.VariantBase::GetValue(&string, false);
    EXPECT_EQ(m_log.sink->TakeText(), WithTypes(R"(
3 Variant [VariantBase::SetValue] Source array has 1 elements, but variant is fixed at 2 elements
3 Variant [VariantBase::SetValue] Source array has 1 elements, but variant is fixed at 2 elements
3 Variant [VariantBase::SetValue] Source and target cannot agree on array type (sourceID=36/targetID=292)
3 Variant [VariantBase::GetValue] Source and target cannot agree on array type (sourceID=548/targetID=36)
3 Variant [VariantBase::SetValue] Unable to Convert to variant type S16 from {int}!
3 Variant [VariantBase::GetValue] Unable to convert from variant type {long} to {int}!
3 Variant [VariantValueConverter< SourceT, std::string >::SetValueImp] Invalid call!
3 Variant [VariantBase::SetValue] Unable to secondarily convert to variant type string from {int}!
3 Variant [VariantValueConverter< std::vector< SourceT >, std::vector< std::string > >::SetValueImp] Invalid call!
3 Variant [VariantBase::SetValue] Unable to secondarily convert to variant type string[] from {ints}!
3 Variant [VariantValueConverter< std::string, TargetT >::GetValueImp] Invalid call!
3 Variant [VariantBase::GetValue] Unable to secondarily convert variant value of type {string} to object of type {int}
3 Variant [VariantValueConverter< std::vector< std::string >, std::vector< TargetT > >::GetValueImp] Invalid call!
3 Variant [VariantBase::GetValue] Unable to secondarily convert variant value of type {strings} to object of type {ints}
3 Variant [VariantValueConverter< std::vector< SourceT >, std::vector< TargetT > >::SetValueImp] Array size is fixed at 0, but tried to set 2-element array to value
3 Variant [VariantBase::SetValue] Unable to secondarily convert to variant type S64[0] from {ints}!
3 Variant [VariantBase::SetValue] Unable to Convert to variant type S16 from {long}!
3 Variant [VaraintValueConverter< SourceT, TargetT >::SetValueImp] Could not set value of type {int} to variant of type {short} (34)
3 Variant [VariantValueConverter< std::string, std::string >::SetValueImp] Invalid call!
5 Variant [VaraintValueConverter< SourceT, TargetT >::SetValueImp] Successfully set value to variant of type 40
5 Variant [VariantBase::SetValue] Able to secondarily convert variant value of type S64 from object of type {int}
5 Variant [VariantBase::GetValue] Able to secondarily convert variant value of type {ints} to object of type {string})"));
}

TEST_F(VariantMessagesTest, TheTextFormSaysWhatIsWrong) {
    Variant<std::vector<signed char>> bytes({1});
    Variant<std::vector<unsigned char>> octets;
    Variant<std::vector<std::string>> fixedTexts({"a"}, true);
    const std::string lines = LinesOf({
        [&] { m_number.ReadValueFromString("", false); },
        [&] { m_number.ReadValueFromString("x", false); },
        [&] { ReadScalarValueFromStringImp<int>(&m_array, "7"); },
        [&] { ReadScalarValueFromStringImp<std::string>(&m_number, "7"); },
        [&] { WriteScalarValueToStringImp<signed char>(&m_array); },
        [&] { WriteScalarValueToStringImp<std::string>(&m_number); },
        [&] { m_array.ReadValueFromString("5", true); },
        [&] { m_array.ReadValueFromString("x`1", true); },
        [&] { m_array.ReadValueFromString("3`7`8", true); },
        [&] { bytes.ReadValueFromString("1`x", false); },
        [&] { m_fixed.ReadValueFromString("1", false); },
        [&] { fixedTexts.ReadValueFromString("a`b", false); },
        [&] { WriteVectorValueToStringImp<unsigned char>(&m_number, false); },
        [&] { m_array.AddElementToVectorAsString(0, nullptr, false); },
        [&] { m_array.AddElementToVectorAsString(0, "x", false); },
        [&] { bytes.AddElementToVectorAsString(0, "-129", false); },
        [&] { octets.AddElementToVectorAsString(-1, "256", false); },
        [&] { AddElementToVectorAsStringImp<int>(&m_number, 0, "1", false); },
        [&] { m_array.AddElementToVectorAsString(2, "1", false); },
        [&] { m_fixed.AddElementToVectorAsString(0, "1", false); },
        [&] { RemoveElementFromVectorImp<int>(3, &m_number, false); },
        [&] { RemoveElementFromVectorImp<int>(1, &m_fixed, false); },
        [&] { m_number.SetValue(std::string("6"), false); },
    });
    EXPECT_EQ(lines, WithTypes(R"(
3 Variant [ReadScalarValueFromStringImp< T >] Invalid string passed into function
3 Variant [ReadScalarValueFromStringImp< T >] Unable to read value x into variant of type 36
3 Variant [ReadScalarValueFromStringImp< T >] Unable to set value 7 into variant of type 548
3 Variant [ReadScalarValueFromStringImp< std::string >] Unable to set value 7 into variant of type 36
3 Variant [WriteScalarValueToStringImp< ::int8_t >] Unable to get value from variant of type 548 to write to string
3 Variant [WriteScalarValueToStringImp< std::string >] Unable to get value from variant of type 36 to write to string
3 Variant [ReadVectorValueFromStringImp< T >] Not enough elements in this string (1) for a valid vector!
3 Variant [ReadVectorValueFromStringImp< T >] Unable to read number of values from x`1
3 Variant [ReadVectorValueFromStringImp< T >] There should be 3 elements in the vector, but there are only 2...
3 Variant [ReadVectorValueFromStringImp< ::int8_t >] Unable to read value x into variant of type 545
3 Variant [ReadVectorValueFromStringImp< T >] Unable to set value 1 into variant of type 292
3 Variant [ReadVectorValueFromStringImp< T >] Unable to set value a`b into variant of type string[1]
3 Variant [WriteVectorValueToStringImp< ::uint8_t >] Unable to get value from variant of type 36 to write to string
3 Variant [VariantBase::AddElementToVectorAsString] Invalid string value passed to function
3 Variant [AddElementToVectorAsStringImp< T >] Unable to turn x into value of type {int}
3 Variant [AddElementToVectorAsStringImp< ::int8_t >] Value -129 is out of range for a ::int8_t
3 Variant [AddElementToVectorAsStringImp< ::uint8_t >] Value 256 is out of range for ::uint8_t
3 Variant [AddElementToVectorAsStringImp< T >] Unable to retrieve value vector of type {int} from variant of type {int}
3 Variant [AddElementToVectorAsStringImp< T >] Unable to insert element at index 2
3 Variant [AddElementToVectorAsStringImp< T >] Unable to reset value vector to variant
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Unable to get vector to remove 3th element
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Unable to reset vector to variant
nothing)"));
}

TEST_F(VariantMessagesTest, TheStreamFormSaysWhatIsWrongAndWhatWentWell) {
    const std::string two("\0\0\0\0\0\0\0\2", 8);
    const std::string lines = LinesOf({
        [&] { ReadShort("S32", "abc"); },
        [&] { ReadShort("S32", "abc", std::ios_base::failbit); },
        [&] { ReadShort("string", "abc"); },
        [&] { ReadShort("U16[]", two + "abc"); },
        [&] { ReadShort("string[]", two + "a"); },
        [&] { WriteScalarValueToStreamImp<int>(&m_array, m_out); },
        [&] { ReadScalarValueFromStreamImp<int>(&m_array, m_in); },
        [&] { ReadScalarValueFromStreamImp<std::string>(&m_number, m_in); },
        [&] { WriteVectorValueToStreamImp<int>(&m_number, m_out); },
        [&] { WriteVectorValueToStreamImp<std::string>(&m_number, m_out); },
        [&] { ReadVectorValueFromStreamImp<int>(&m_number, m_in); },
        [&] { ReadVectorValueFromStreamImp<std::string>(&m_number, m_in); },
        [&] { m_number.WriteValueToStream(m_out); },
        [&] { m_text.WriteValueToStream(m_out); },
        [&] { m_array.WriteValueToStream(m_out); },
        [&] { m_texts.WriteValueToStream(m_out); },
        [&] { m_array.ReadValueFromStream(m_in); },
        [&] { m_texts.ReadValueFromStream(m_in); },
    });
    EXPECT_EQ(lines, WithTypes(R"(
3 Variant [ReadScalarValueFromStreamImp< T >]  Unable to read 4 bytes from input stream
3 Variant [ReadScalarValueFromStreamImp< T >] Caught exception while reading 4 bytes from input stream (basic_ios::clear: iostream error)
3 Variant [ReadScalarValueFromStreamImp< std::string >]  Unable to read string from input stream
3 Variant [ReadVectorValueFromStreamImp< T >]  Unable to read 4 bytes from input stream
3 Variant [ReadVectorValueFromStreamImp< std::string >]  Unable to read single byte from input stream
3 Variant [WriteScalarBufferToStreamImp< T >] Unable to convert variant of type 548 to object of type {int}
3 Variant [ReadScalarValueFromStreamImp< T >] Unable to set variant of type 548 with object of type {int}
3 Variant [ReadScalarValueFromStreamImp< std::string >] Unable to set variant of type 36 with object of type std::string
3 Variant [WriteVectorValueToBufferImp< T >] Unable to get value as vector of {int}, type is 36
3 Variant [WriteVectorValueToStreamImp< std::string >] Unable to get value as vector of std::string, type is 36
3 Variant [ReadVectorValueFromStreamImp< T >] Unable to set variant of type 36 with object of type {int}
3 Variant [ReadVectorValueFromStreamImp< std::string >] Unable to set variant of type 36 with object of type std::string
6 Variant [WriteScalarBufferToStreamImp< T >] Successfully wrote variant of type 36 to stream...
6 Variant [WriteScalarBufferToStreamImp< std::string >] Successfully wrote variant of type 128 to stream...
6 Variant [WriteVectorValueToBufferImp< T >] Successfully wrote variant with 2 elements and type 548 to stream...
6 Variant [WriteVectorValueToStreamImp< std::string >] Successfully wrote variant with 1 elements and type 640 to stream...
6 Variant [ReadVectorValueFromStreamImp< T >] Current vector has 0 elements
6 Variant [ReadVectorValueFromStreamImp< std::string >] Current vector has 0 elements)"));
}

TEST_F(VariantMessagesTest, TheBufferFormSaysWhatIsWrongAndWhatWentWell) {
    Variant<std::vector<int>> empty;
    m_block[7] = 2;
    const std::string lines = LinesOf({
        [&] { WriteScalarValueToBufferImp<int>(&m_array, m_block, WithBytes(9)); },
        [&] { m_number.WriteValueToBuffer(m_block, WithBytes(3), false); },
        [&] { m_text.WriteValueToBuffer(m_block, WithBytes(2), false); },
        [&] { m_number.ReadValueFromBuffer(m_block, WithBytes(3), false); },
        [&] { m_text.ReadValueFromBuffer(m_block, WithBytes(0), false); },
        [&] { ReadScalarValueFromBufferImp<int>(&m_array, m_block, WithBytes(9)); },
        [&] { ReadScalarValueFromBufferImp<std::string>(&m_number, m_block, WithBytes(9)); },
        [&] { WriteVectorValueToBufferImp<std::string>(&m_number, m_block, WithBytes(9), true); },
        [&] { m_array.WriteValueToBuffer(m_block, WithBytes(15), true); },
        [&] { ReadVectorValueFromBufferImp<std::string>(&m_array, m_block, WithBytes(9), false); },
        [&] { empty.ReadValueFromBuffer(m_block, WithBytes(9), false); },
        [&] { m_array.ReadValueFromBuffer(m_block, WithBytes(7), true); },
        [&] { m_texts.ReadValueFromBuffer(m_block, WithBytes(7), true); },
        [&] { m_array.ReadValueFromBuffer(m_block, WithBytes(7), false); },
        [&] { m_texts.ReadValueFromBuffer(m_block, WithBytes(9), true); },
        [&] { ReadVectorValueFromBufferImp<int>(&m_number, m_block, WithBytes(64), true); },
        [&] { ReadVectorValueFromBufferImp<std::string>(&m_number, m_block, WithBytes(64), true); },
        [&] { m_array.ReadValueFromBuffer(m_block, WithBytes(64), true); },
        [&] { m_number.WriteValueToBuffer(m_block, WithBytes(64), true); },
        [&] { m_text.WriteValueToBuffer(m_block, WithBytes(64), true); },
        [&] { m_array.WriteValueToBuffer(m_block, WithBytes(64), true); },
        [&] { m_texts.WriteValueToBuffer(m_block, WithBytes(64), false); },
    });
    EXPECT_EQ(lines, WithTypes(R"(
3 Variant [WriteScalarValueToBufferImp< T >] Unable to convert variant of type 548 to object of type {int}
3 Variant [WriteScalarValueToBufferImp< T >] Trying to write 4 bytes to buffer that only has 3 bytes available
3 Variant [WriteScalarValueToBufferImp< std::string >] Trying to write 3 bytes to buffer that only has 2 bytes available
3 Variant [ReadScalarValueFromBufferImp< T >] Trying to read 4 bytes from buffer for type {int} but only 3 bytes are available
3 Variant [ReadScalarValueFromBufferImp< std::string >] Trying to read string from buffer but no terminating character found in 0 bytes
3 Variant [ReadScalarValueFromBufferImp< T >] Unable to set variant of type 548 with value of type {int}
3 Variant [ReadScalarValueFromBufferImp< std::string >] Unable to set variant of type 36 with value of type std::string
3 Variant [WriteVectorValueToBufferImp< std::string >] Unable to get value as vector of std::string, type is 36
3 Variant [WriteVectorValueToBufferImp< T >] Full size of vector is 16, but only 15 bytes are available
3 Variant [ReadVectorValueFromBufferImp< T >] Unable to determine size from existing vector
3 Variant [ReadVectorValueFromBufferImp< T >] Existing vector has size 0
3 Variant [ReadVectorValueFromBufferImp< T >] Not enough bytes to specify the size of the vector
3 Variant [ReadVectorValueFromBufferImp< std::string >] Not enough bytes to specify the size of the vector
3 Variant [ReadVectorValueFromBufferImp< T >] 7 bytes are not enough to hold to hold 2 elements of type {int} and size descriptor
3 Variant [ReadVectorValueFromBufferImp< std::string >] 9 bytes are not enough to hold 2 strings (or null termination is missing)
3 Variant [ReadVectorValueFromBufferImp< T >] Unable to set value of type {int} into variant of type 36
3 Variant [ReadVectorValueFromBufferImp< std::string >] Unable to set value of type std::vector< std::string > into variant of type 36
6 Variant [ReadVectorValueFromBufferImp< T >] This vector has 2 elements...
6 Variant [WriteScalarValueToBufferImp< T >] Successfully wrote 4 bytes for variant of type 36 to buffer...
6 Variant [WriteScalarValueToBufferImp< std::string >] Successfully wrote 3 bytes for variant of type 128 to buffer...
6 Variant [WriteVectorValueToBufferImp< T >] Successfully wrote 16 bytes for variant with 2 elements and type 548...
6 Variant [WriteVectorValueToBufferImp< std::string >] Successfully wrote 2 bytes for variant with 1 elements and type 640...)"));
}

}  // namespace
}  // namespace zel
