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
using Ints = std::vector<int>;
using Longs = std::vector<long long>;

template <class Source, class Target>
using Converter = VariantValueConverter<Source, Target>;

// Puts into a text what its marks stand for.
std::string Filled(std::string text, Names names = {}) {
    names.insert(names.end(), {{"int", typeid(int).name()},
                               {"long", typeid(long long).name()},
                               {"string", typeid(std::string).name()},
                               {"ints", typeid(Ints).name()},
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
    Variant<Ints> m_array{{1, 2}};
    Variant<Ints> m_fixed{{1, 2}, true};
    Variant<Texts> m_texts{{"a"}};
};

// Without a variant, with one of another shape, with the right one, and with too few bytes for it.
// Of the two in {text|number} one is meant, by the element type.
const char* const s_linesOfForms = R"(
3 Variant [ReadScalarValueFromBufferImp< {std::string|T} >] Invalid pointer passed into function
3 Variant [ReadVectorValueFromBufferImp< {std::string|T} >] Invalid pointer passed into function
3 Variant [ReadScalarValueFromStreamImp< {std::string|T} >] Invalid variant pointer passed into function
3 Variant [ReadVectorValueFromStreamImp< {std::string|T} >] Invalid variant pointer passed into function
3 Variant [ReadScalarValueFromStringImp< {std::string|T} >] Invalid variant pointer passed into function
3 Variant [ReadVectorValueFromStringImp< T >] Invalid variant pointer passed into function
3 Variant [AddElementToVectorAsStringImp< {tag} >] Invalid pointer passed to function
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Invalid variant pointer passed to function
3 Variant [WriteScalarValueToStringImp< {std::string|{tag}} >] Invalid variant pointer passed to function
3 Variant [WriteVectorValueToStringImp< {tag} >] Invalid variant pointer passed to function
3 Variant [WriteScalarBufferToStreamImp< {std::string|T} >] Invalid variant pointer passed to function
3 Variant [WriteVectorValueTo{Stream|Buffer}Imp< {std::string|T} >] Invalid variant pointer passed to function
3 Variant [WriteScalarValueToBufferImp< {std::string|T} >] Invalid variant pointer passed to function
3 Variant [WriteVectorValueToBufferImp< {std::string|T} >] Invalid variant pointer passed to function

3 Variant [ReadScalarValueFromBufferImp< {std::string|T} >] Unable to set variant of type 292 with value of type {std::string|{E}}
3 Variant [ReadVectorValueFromBufferImp< {std::string|T} >] Unable to set value of type {std::vector< std::string >|{E}} into variant of type 36
3 Variant [ReadScalarValueFromStreamImp< {std::string|T} >] Unable to set variant of type 292 with object of type {std::string|{E}}
3 Variant [ReadVectorValueFromStreamImp< {std::string|T} >] Unable to set variant of type 36 with object of type {std::string|{E}}
3 Variant [ReadScalarValueFromStringImp< {std::string|T} >] Unable to set value 7 into variant of type 292
3 Variant [ReadVectorValueFromStringImp< {tag} >] Unable to set value 7 into variant of type {S32|36}
3 Variant [AddElementToVectorAsStringImp< {tag} >] Unable to retrieve value vector of type {E} from variant of type {int}
3 Variant [RemoveElementFromVectorImp< std::vector< T > >] Unable to get vector to remove 0th element
3 Variant [WriteScalarValueToStringImp< {std::string|{tag}} >] Unable to get value from variant of type 292 to write to string
3 Variant [WriteVectorValueToStringImp< {tag} >] Unable to get value from variant of type 36 to write to string
{6|3} Variant [WriteScalarBufferToStreamImp< {std::string|T} >] {Successfully wrote variant of type 292 to stream...|Unable to convert variant of type 292 to object of type {E}}
3 Variant [WriteVectorValueTo{Stream|Buffer}Imp< {std::string|T} >] Unable to get value as vector of {std::string|{E}}, type is 36
{6|3} Variant [WriteScalarValueToBufferImp< {std::string|T} >] {Successfully wrote 4 bytes for variant of type 292 to buffer...|Unable to convert variant of type 292 to object of type {E}}
3 Variant [WriteVectorValueToBufferImp< {std::string|T} >] Unable to get value as vector of {std::string|{E}}, type is 36

6 Variant [ReadVectorValueFromBufferImp< {std::string|T} >] This vector has 0 elements...
6 Variant [ReadVectorValueFromStreamImp< {std::string|T} >] Current vector has 0 elements
6 Variant [WriteScalarBufferToStreamImp< {std::string|T} >] Successfully wrote variant of type {id} to stream...
6 Variant [WriteVectorValueTo{Stream|Buffer}Imp< {std::string|T} >] Successfully wrote variant with 1 elements and type {arrayID} to stream...
6 Variant [WriteScalarValueToBufferImp< {std::string|T} >] Successfully wrote {size} bytes for variant of type {id} to buffer...
6 Variant [WriteVectorValueToBufferImp< {std::string|T} >] Successfully wrote {fullSize} bytes for variant with 1 elements and type {arrayID}...

3 Variant [ReadScalarValueFromBufferImp< {std::string|T} >] Trying to read {string from buffer but no terminating character found in {room} bytes|{size} bytes from buffer for type {E} but only {room} bytes are available}
3 Variant [ReadVectorValueFromBufferImp< {std::string|T} >] Not enough bytes to specify the size of the vector
3 Variant [ReadScalarValueFromStreamImp< {std::string|T} >]  Unable to read {string|{size} bytes} from input stream
3 Variant [ReadVectorValueFromStreamImp< {std::string|T} >]  Unable to read 8 bytes from input stream
3 Variant [WriteScalarValueToBufferImp< {std::string|T} >] Trying to write {size} bytes to buffer that only has {room} bytes available
3 Variant [WriteVectorValueToBufferImp< {std::string|T} >] Full size of vector is {fullSize}, but only {room} bytes are available)";

// Calls each instance from outside the library.
TEST_F(VariantMessagesTest, EveryInstanceOfTheFormsSaysWhatIsWrongAndWhatWentWell) {
    test::ForEachElement([&]<class E>(ElementTraits<E> traits) {
        const bool isText = std::is_same_v<E, std::string>;
        const std::size_t size = isText ? sizeof "7" : sizeof(E);
        const Names names = {{"tag", sizeof(E) == 1 ? traits.Spelling : "T"},
                             {"E", typeid(E).name()},
                             {"size", std::to_string(size)},
                             {"fullSize", std::to_string(8 + size)},
                             {"room", std::to_string(size - 1)},
                             {"id", std::to_string(traits.Code)},
                             {"arrayID", std::to_string(traits.Code | 0x200)}};
        const std::regex either("\\{([^{}|]*)\\|([^{}|]*)\\}");
        Variant<E> scalar;
        Variant<std::vector<E>> array;
        m_log.logger->SetAreaLevel("Variant", 6);
        std::string lines = LinesOfForms<E>(nullptr, nullptr, 64, 0) + '\n';
        lines += LinesOfForms<E>(&m_fixed, &m_number, 64, 0) + '\n';
        lines += LinesOfForms<E>(&scalar, &array, 64, 0) + '\n';
        m_log.logger->SetAreaLevel("Variant", 3);
        lines += LinesOfForms<E>(&scalar, &array, size - 1, 'x');
        EXPECT_EQ(lines,
                  std::regex_replace(Filled(s_linesOfForms, names), either, isText ? "$1" : "$2"));
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
    Variant<Ints> one({1}, true);
    Variant<Longs> none({}, true);
    Variant<long long> wide;
    Ints ints{1, 2};
    std::string string;
    m_fixed.SetValue(Ints{1}, false);
    one.SetValue(1, false);
    m_array.GetValue(&ints[0], false);
    m_number.SetValue(5LL, false);
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
3 Variant [VariantBase::SetValue] Unable to Convert to variant type S32 from {long}!
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
    long long number = 0;
    Longs numbers;
    std::string text;
    Variant<Texts> fixed({"a"}, true);
    const std::string lines = LinesOf({
        [&] { Converter<int, long long>::SetValueImp(&m_number, 1, false); },
        [&] { Converter<int, long long>::GetValueImp(&m_array, &number, false); },
        [&] { Converter<Ints, Longs>::SetValueImp(&m_array, Ints(2), false); },
        [&] { Converter<Ints, Longs>::GetValueImp(&m_number, &numbers, false); },
        [&] { Converter<std::string, Texts>::AddElementToVector(0, &m_number, &text, false); },
        [&] { Converter<std::string, Texts>::AddElementToVector(1, &m_texts, &text, false); },
        [&] { Converter<std::string, Texts>::AddElementToVector(-1, &fixed, &text, false); },
        [] { Converter<std::string, std::string>::SetValueImp(nullptr, "", true); },
        [] { Converter<std::string, std::string>::GetValueImp(nullptr, nullptr, true); },
        [] { Converter<std::string, std::string>::AddElementToVector(0, nullptr, nullptr, true); },
        [] { Converter<Texts, Texts>::SetValueImp(nullptr, {}, true); },
        [] { Converter<Texts, Texts>::GetValueImp(nullptr, nullptr, true); },
        [] { Converter<Texts, Texts>::AddElementToVector(0, nullptr, nullptr, true); },
        [] { Converter<Texts, std::string>::SetValueImp(nullptr, {}, true); },
        [] { Converter<Texts, std::string>::AddElementToVector(0, nullptr, nullptr, true); },
        [] { Converter<std::string, Texts>::GetValueImp(nullptr, nullptr, true); },
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
