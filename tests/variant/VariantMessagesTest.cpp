#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <regex>
#include <sstream>
#include <utility>

namespace zel {
namespace {

using Names = std::vector<std::pair<std::string, std::string>>;
using Texts = std::vector<std::string>;

// Puts into a text what its marks stand for, which may have marks of those behind it.
std::string Filled(std::string text, Names names = {}) {
    names.insert(names.end(), {{"int", typeid(int).name()},
                               {"short", typeid(short).name()},
                               {"long", typeid(long long).name()},
                               {"string", typeid(std::string).name()},
                               {"ints", typeid(std::vector<int>).name()},
                               {"texts", typeid(Texts).name()}});
    for (const auto& [mark, name] : names) {
        text = std::regex_replace(text, std::regex("\\{" + mark + "\\}"), name);
    }
    return text;
}

// What the family logs at all levels.
class VariantMessagesTest : public testing::Test {
protected:
    VariantMessagesTest() { m_log.logger->SetAreaLevel("Variant", 6); }

    // The last line that each of the calls logs.
    std::string LinesOf(const std::vector<std::function<void()>>& calls) {
        std::string lines;
        for (const auto& call : calls) {
            call();
            const std::string text = m_log.sink->TakeText();
            lines += text.substr(std::min(text.rfind('\n'), text.size()));
        }
        return lines;
    }

    unsigned long long& WithBytes(unsigned long long bytes) { return m_bytes = bytes; }

    // Calls each free template of an element type, on what should be a scalar and an array of it
    // and on some equal bytes.
    template <class E>
    std::string LinesOfForms(VariantBase* scalar, VariantBase* array, std::size_t room, char byte) {
        std::istringstream in(std::string(room, byte));
        std::ostringstream out;
        std::memset(m_block, byte, sizeof m_block);
        return LinesOf({
            [&] { ReadScalarValueFromBufferImp<E>(scalar, m_block, WithBytes(room)); },
            [&] { ReadVectorValueFromBufferImp<E>(array, m_block, WithBytes(room), true); },
            [&] { ReadScalarValueFromStreamImp<E>(scalar, in); },
            [&] { ReadVectorValueFromStreamImp<E>(array, in); },
            [&] { ReadScalarValueFromStringImp<E>(scalar, "7"); },
            [&] { ReadVectorValueFromStringImp<E>(array, "7", false); },
            [&] { AddElementToVectorAsStringImp<E>(array, 0, "7", false); },
            [&] { RemoveElementFromVectorImp<E>(0, array, false); },
            [&] { WriteScalarValueToStringImp<E>(scalar); },
            [&] { WriteVectorValueToStringImp<E>(array, false); },
            [&] { WriteScalarValueToStreamImp<E>(scalar, out); },
            [&] { WriteVectorValueToStreamImp<E>(array, out); },
            [&] { WriteScalarValueToBufferImp<E>(scalar, m_block, WithBytes(room)); },
            [&] { WriteVectorValueToBufferImp<E>(array, m_block, WithBytes(room), true); },
        });
    }

    test::ScopedLogger m_log;
    char m_block[64] = {};
    unsigned long long m_bytes = 0;
    Variant<int> m_number{5};
    Variant<std::string> m_text{"ab"};
    Variant<std::vector<int>> m_array{{1, 2}};
    Variant<std::vector<int>> m_fixed{{1, 2}, true};
    Variant<Texts> m_texts{{"a"}};
};

// Without a variant, with one of another shape, with the right one, and with too few bytes for it.
const char* const s_linesOfForms = R"(
3 Variant [ReadScalarValueFromBufferImp< {form} >] Invalid pointer passed into function
3 Variant [ReadVectorValueFromBufferImp< {form} >] Invalid pointer passed into function
3 Variant [ReadScalarValueFromStreamImp< {form} >] Invalid variant pointer passed into function
3 Variant [ReadVectorValueFromStreamImp< {form} >] Invalid variant pointer passed into function
3 Variant [ReadScalarValueFromStringImp< {form} >] Invalid variant pointer passed into function
3 Variant [ReadVectorValueFromStringImp< T >] Invalid variant pointer passed into function
3 Variant [AddElementToVectorAsStringImp< {tag} >] Invalid pointer passed to function
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Invalid variant pointer passed to function
3 Variant [WriteScalarValueToStringImp< {own} >] Invalid variant pointer passed to function
3 Variant [WriteVectorValueToStringImp< {tag} >] Invalid variant pointer passed to function
3 Variant [WriteScalarBufferToStreamImp< {form} >] Invalid variant pointer passed to function
3 Variant [WriteVectorValueTo{sink}Imp< {form} >] Invalid variant pointer passed to function
3 Variant [WriteScalarValueToBufferImp< {form} >] Invalid variant pointer passed to function
3 Variant [WriteVectorValueToBufferImp< {form} >] Invalid variant pointer passed to function

3 Variant [ReadScalarValueFromBufferImp< {form} >] Unable to set variant of type 292 with value of type {type}
3 Variant [ReadVectorValueFromBufferImp< {form} >] Unable to set value of type {arrayType} into variant of type 36
3 Variant [ReadScalarValueFromStreamImp< {form} >] Unable to set variant of type 292 with object of type {type}
3 Variant [ReadVectorValueFromStreamImp< {form} >] Unable to set variant of type 36 with object of type {type}
3 Variant [ReadScalarValueFromStringImp< {form} >] Unable to set value 7 into variant of type 292
3 Variant [ReadVectorValueFromStringImp< {tag} >] Unable to set value 7 into variant of type {number}
3 Variant [AddElementToVectorAsStringImp< {tag} >] Unable to retrieve value vector of type {E} from variant of type {int}
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Unable to get vector to remove 0th element
3 Variant [WriteScalarValueToStringImp< {own} >] Unable to get value from variant of type 292 to write to string
3 Variant [WriteVectorValueToStringImp< {tag} >] Unable to get value from variant of type 36 to write to string
{level} Variant [WriteScalarBufferToStreamImp< {form} >] {toStream}
3 Variant [WriteVectorValueTo{sink}Imp< {form} >] Unable to get value as vector of {type}, type is 36
{level} Variant [WriteScalarValueToBufferImp< {form} >] {toBuffer}
3 Variant [WriteVectorValueToBufferImp< {form} >] Unable to get value as vector of {type}, type is 36

6 Variant [ReadVectorValueFromBufferImp< {form} >] This vector has 0 elements...
6 Variant [ReadVectorValueFromStreamImp< {form} >] Current vector has 0 elements
6 Variant [WriteScalarBufferToStreamImp< {form} >] Successfully wrote variant of type {id} to stream...
6 Variant [WriteVectorValueTo{sink}Imp< {form} >] Successfully wrote variant with 1 elements and type {arrayID} to stream...
6 Variant [WriteScalarValueToBufferImp< {form} >] Successfully wrote {size} bytes for variant of type {id} to buffer...
6 Variant [WriteVectorValueToBufferImp< {form} >] Successfully wrote {fullSize} bytes for variant with 1 elements and type {arrayID}...

3 Variant [ReadScalarValueFromBufferImp< {form} >] Trying to read {fromBuffer}
3 Variant [ReadVectorValueFromBufferImp< {form} >] Not enough bytes to specify the size of the vector
3 Variant [ReadScalarValueFromStreamImp< {form} >]  Unable to read {fromStream} from input stream
3 Variant [ReadVectorValueFromStreamImp< {form} >]  Unable to read 8 bytes from input stream
3 Variant [WriteScalarValueToBufferImp< {form} >] Trying to write {size} bytes to buffer that only has {room} bytes available
3 Variant [WriteVectorValueToBufferImp< {form} >] Full size of vector is {fullSize}, but only {room} bytes are available)";

// Calls each instance from outside the library.
TEST_F(VariantMessagesTest, EveryInstanceOfTheFormsSaysWhatIsWrongAndWhatWentWell) {
    test::ForEachElement([&]<class E>(ElementTraits<E> traits) {
        const bool isText = std::is_same_v<E, std::string>;
        const auto either = [&](const char* ofText, std::string ofNumber) {
            return isText ? ofText : ofNumber;
        };
        const std::size_t size = isText ? sizeof "7" : sizeof(E);
        const std::string tag = sizeof(E) == 1 ? traits.Spelling : "T";
        const Names names = {
            {"toBuffer", either("Successfully wrote 4 bytes for variant of type 292 to buffer...",
                                "Unable to convert variant of type 292 to object of type {E}")},
            {"toStream", either("Successfully wrote variant of type 292 to stream...",
                                "Unable to convert variant of type 292 to object of type {E}")},
            {"fromBuffer",
             either("string from buffer but no terminating character found in {room} bytes",
                    "{size} bytes from buffer for type {E} but only {room} bytes are available")},
            {"fromStream", either("string", "{size} bytes")},
            {"level", either("6", "3")},
            {"form", either("std::string", "T")},
            {"own", either("std::string", tag)},
            {"tag", tag},
            {"sink", either("Stream", "Buffer")},
            {"number", either("S32", "36")},
            {"arrayType", either("std::vector< std::string >", "{E}")},
            {"type", either("std::string", "{E}")},
            {"E", typeid(E).name()},
            {"size", std::to_string(size)},
            {"fullSize", std::to_string(8 + size)},
            {"room", std::to_string(size - 1)},
            {"id", std::to_string(traits.Code)},
            {"arrayID", std::to_string(traits.Code | 0x200)}};
        Variant<E> scalar;
        Variant<std::vector<E>> array;
        m_log.logger->SetAreaLevel("Variant", 6);
        std::string lines = LinesOfForms<E>(nullptr, nullptr, 64, 0) + '\n';
        lines += LinesOfForms<E>(&m_fixed, &m_number, 64, 0) + '\n';
        lines += LinesOfForms<E>(&scalar, &array, 64, 0) + '\n';
        m_log.logger->SetAreaLevel("Variant", 3);
        lines += LinesOfForms<E>(&scalar, &array, size - 1, 'x');
        EXPECT_EQ(lines, Filled(s_linesOfForms, names));
    });
}

TEST_F(VariantMessagesTest, TheFormsSayWhatIsWrongWithTextAndBytes) {
    const auto read = [](const char* type, const std::string& bytes, std::ios::iostate thrown) {
        std::istringstream in(bytes);
        in.exceptions(thrown);
        EXPECT_FALSE(VariantBase::CreateByTypeName(type)->ReadValueFromStream(in));
    };
    const std::string two("\0\0\0\0\0\0\0\2", 8);
    two.copy(m_block, two.size());
    Variant<std::vector<signed char>> bytes({1});
    Variant<std::vector<unsigned char>> none;
    const std::string lines = LinesOf({
        [&] { m_number.ReadValueFromString("", false); },
        [&] { m_number.ReadValueFromString("x", false); },
        [&] { m_array.ReadValueFromString("5", true); },
        [&] { m_array.ReadValueFromString("x`1", true); },
        [&] { m_array.ReadValueFromString("3`7`8", true); },
        [&] { bytes.ReadValueFromString("1`x", false); },
        [&] { m_array.AddElementToVectorAsString(0, nullptr, false); },
        [&] { m_array.AddElementToVectorAsString(0, "x", false); },
        [&] { bytes.AddElementToVectorAsString(0, "-129", false); },
        [&] { none.AddElementToVectorAsString(-1, "256", false); },
        [&] { m_array.AddElementToVectorAsString(2, "1", false); },
        [&] { m_fixed.AddElementToVectorAsString(0, "1", false); },
        [&] { RemoveElementFromVectorImp<int>(1, &m_fixed, false); },
        [&] { read("S32", "abc", std::ios::failbit); },
        [&] { read("string", "abc", std::ios::failbit); },
        [&] { read("U16[]", two + "abc", {}); },
        [&] { read("U16[]", two + "abc", std::ios::eofbit); },
        [&] { read("string[]", two + "a", {}); },
        [&] { read("string[]", two + "a", std::ios::failbit); },
        [&] { ReadVectorValueFromBufferImp<std::string>(&m_array, m_block, WithBytes(9), false); },
        [&] { none.ReadValueFromBuffer(m_block, WithBytes(9), false); },
        [&] { m_array.ReadValueFromBuffer(m_block, WithBytes(15), true); },
        [&] { m_texts.ReadValueFromBuffer(m_block, WithBytes(9), true); },
    });
    EXPECT_EQ(lines, Filled(R"(
3 Variant [ReadScalarValueFromStringImp< T >] Invalid string passed into function
3 Variant [ReadScalarValueFromStringImp< T >] Unable to read value x into variant of type 36
3 Variant [ReadVectorValueFromStringImp< T >] Not enough elements in this string (1) for a valid vector!
3 Variant [ReadVectorValueFromStringImp< T >] Unable to read number of values from x`1
3 Variant [ReadVectorValueFromStringImp< T >] There should be 3 elements in the vector, but there are only 2...
3 Variant [ReadVectorValueFromStringImp< ::int8_t >] Unable to read value x into variant of type 545
3 Variant [VariantBase::AddElementToVectorAsString] Invalid string value passed to function
3 Variant [AddElementToVectorAsStringImp< T >] Unable to turn x into value of type {int}
3 Variant [AddElementToVectorAsStringImp< ::int8_t >] Value -129 is out of range for a ::int8_t
3 Variant [AddElementToVectorAsStringImp< ::uint8_t >] Value 256 is out of range for ::uint8_t
3 Variant [AddElementToVectorAsStringImp< T >] Unable to insert element at index 2
3 Variant [AddElementToVectorAsStringImp< T >] Unable to reset value vector to variant
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Unable to reset vector to variant
3 Variant [ReadScalarValueFromStreamImp< T >] Caught exception while reading 4 bytes from input stream (basic_ios::clear: iostream error)
3 Variant [ReadScalarValueFromStreamImp< std::string >] Caught exception while reading 4 bytes from input stream (basic_ios::clear: iostream error)
3 Variant [ReadVectorValueFromStreamImp< T >]  Unable to read 4 bytes from input stream
3 Variant [ReadVectorValueFromStreamImp< T >] Caught exception while reading 4 bytes from input stream (basic_ios::clear: iostream error)
3 Variant [ReadVectorValueFromStreamImp< std::string >]  Unable to read single byte from input stream
3 Variant [ReadVectorValueFromStreamImp< std::string >] Caught exception while reading single byte from input stream (basic_ios::clear: iostream error)
3 Variant [ReadVectorValueFromBufferImp< T >] Unable to determine size from existing vector
3 Variant [ReadVectorValueFromBufferImp< T >] Existing vector has size 0
3 Variant [ReadVectorValueFromBufferImp< T >] 15 bytes are not enough to hold to hold 2 elements of type {int} and size descriptor
3 Variant [ReadVectorValueFromBufferImp< std::string >] 9 bytes are not enough to hold 2 strings (or null termination is missing))"));
}

TEST_F(VariantMessagesTest, ConversionSaysWhatIsRefusedAndWhy) {
    Variant<std::vector<int>> one({1}, true);
    Variant<std::vector<long long>> none({}, true);
    Variant<long long> wide;
    Variant<short> narrow;
    std::vector<int> ints{1, 2};
    std::string string;
    m_fixed.SetValue(std::vector<int>{1}, false);
    one.SetValue(1, false);
    m_array.GetValue(&ints[0], false);
    narrow.SetValue(5, false);
    wide.GetValue(&ints[0], false);
    m_text.SetValue(1, false);
    m_texts.SetValue(ints, false);
    m_text.GetValue(&ints[0], false);
    m_texts.GetValue(&ints, false);
    none.SetValue(ints, false);
    wide.SetValue(1, false);
    wide.SetValue(std::string("2"), false);
    m_array.GetValue(&string, false);
    EXPECT_EQ(m_log.sink->TakeText(), Filled(R"(
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
3 Variant [VariantBase::GetValue] Unable to secondarily convert variant value of type {texts} to object of type {ints}
3 Variant [VariantValueConverter< std::vector< SourceT >, std::vector< TargetT > >::SetValueImp] Array size is fixed at 0, but tried to set 2-element array to value
3 Variant [VariantBase::SetValue] Unable to secondarily convert to variant type S64[0] from {ints}!
5 Variant [VaraintValueConverter< SourceT, TargetT >::SetValueImp] Successfully set value to variant of type 40
5 Variant [VariantBase::SetValue] Able to secondarily convert variant value of type S64 from object of type {int}
5 Variant [VariantBase::GetValue] Able to secondarily convert variant value of type {ints} to object of type {string})"));
}

TEST_F(VariantMessagesTest, ConvertersSayWhatTheyCouldNotDo) {
    using Scalar = VariantValueConverter<int, long long>;
    using Array = VariantValueConverter<std::vector<int>, std::vector<long long>>;
    using TextToText = VariantValueConverter<std::string, std::string>;
    using TextsToTexts = VariantValueConverter<Texts, Texts>;
    using TextsToText = VariantValueConverter<Texts, std::string>;
    using TextToTexts = VariantValueConverter<std::string, Texts>;
    long long number = 0;
    std::vector<long long> numbers;
    std::string text;
    Variant<Texts> fixed({"a"}, true);
    const std::string lines = LinesOf({
        [&] { Scalar::SetValueImp(&m_number, 1, false); },
        [&] { Scalar::GetValueImp(&m_array, &number, false); },
        [&] {
            Array::SetValueImp(&m_array, {1, 2}, false);
        },
        [&] { Array::GetValueImp(&m_number, &numbers, false); },
        [&] { TextToTexts::AddElementToVector(0, &m_number, &text, false); },
        [&] { TextToTexts::AddElementToVector(1, &m_texts, &text, false); },
        [&] { TextToTexts::AddElementToVector(-1, &fixed, &text, false); },
        [] { TextToText::SetValueImp(nullptr, "", true); },
        [] { TextToText::GetValueImp(nullptr, nullptr, true); },
        [] { TextToText::AddElementToVector(0, nullptr, nullptr, true); },
        [] { TextsToTexts::SetValueImp(nullptr, {}, true); },
        [] { TextsToTexts::GetValueImp(nullptr, nullptr, true); },
        [] { TextsToTexts::AddElementToVector(0, nullptr, nullptr, true); },
        [] { TextsToText::SetValueImp(nullptr, {}, true); },
        [] { TextsToText::AddElementToVector(0, nullptr, nullptr, true); },
        [] { TextToTexts::GetValueImp(nullptr, nullptr, true); },
    });
    EXPECT_EQ(lines, Filled(R"(
3 Variant [VaraintValueConverter< SourceT, TargetT >::SetValueImp] Could not set value of type {int} to variant of type {int} (36)
3 Variant [GetValueImp< scalar >] Unable to get value into object of type {int}!
3 Variant [VariantValueConverter< std::vector< SourceT >, std::vector< TargetT > >::SetValueImp] Unable to set array of 2 elements to variant value
3 Variant [VariantValueConverter< std::vector< SourceT >, std::vector< TargetT > >::GetValueImp] Unable to get vector of values into temp vector
3 Variant [VariantValueConverter< SourceT, std::vector< TargetT > >::AddElementToVector] Unable to extract values from variant prior to insertion
3 Variant [VariantValueConverter< std::string, std::vector< std::string > >::AddElementToVector] Unable to insert element at index 1
3 Variant [VariantValueConverter< SourceT, std::vector< TargetT > >::AddElementToVector] Unable to reset vector values after insertion
3 Variant [VariantValueConverter< std::string, std::string >::SetValueImp] Invalid call!
3 Variant [VariantValueConverter< std::string, std::string >::GetValueImp] Invalid call!
3 Variant [VariantValueConverter< std::string, std::string >::AddElementToVector] Invalid call!
3 Variant [VariantValueConverter< std::vector< std::string >, std::vector< std::string > >::SetValueImp] Invalid call!
3 Variant [VariantValueConverter< std::vector< std::string >, std::vector< std::string > >::GetValueImp] Invalid call!
3 Variant [VariantValueConverter< std::vector< std::string >, std::vector< std::string > >::AddElementToVector] Invalid call!
3 Variant [VariantValueConverter< std::vector< std::string >, std::string >::SetValueImp] Invalid call!
3 Variant [VariantValueConverter< std::vector< std::string >, std::string >::AddElementToVector] Invalid call!
3 Variant [VariantValueConverter< std::string, std::vector< std::string > >::GetValueImp] Invalid call!)"));
}

}  // namespace
}  // namespace zel
