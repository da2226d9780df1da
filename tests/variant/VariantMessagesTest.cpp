#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/VariantForms.h"

#include <gtest/gtest.h>

#include <functional>
#include <regex>

namespace zel {
namespace {

using Texts = std::vector<std::string>;
using Ints = std::vector<int>;
using Longs = std::vector<long long>;
using Calls = std::vector<std::function<bool()>>;

using FromInt = VariantValueConverter<int, long long>;
using FromInts = VariantValueConverter<Ints, Longs>;
using FromText = VariantValueConverter<std::string, Texts>;

class VariantMessagesTest : public testing::Test {
protected:
    // Checks that each call returns false, and compares the last line that it logs, which has level
    // 3, with a line of `expected`, in which {int} is the runtime's name of the type, {E} that of
    // E, {tag} its tag in the text form, and {a|b} is a if E is a string and b if not.
    template <class E = int>
    void Check(const Calls& calls, const std::string& expected) {
        const std::pair<const char*, const char*> names[] = {
            {"\\{tag\\}", sizeof(E) == 1 ? ElementTraits<E>::Spelling : "T"},
            {"\\{E\\}", typeid(E).name()},
            {"\\{int\\}", typeid(int).name()},
            {"\\{long\\}", typeid(long long).name()},
            {"\\{ints\\}", typeid(Ints).name()},
            {"\\{texts\\}", typeid(Texts).name()},
            {"\\{([^{}|]*)\\|([^{}|]*)\\}", NumericElement<E> ? "$2" : "$1"}};
        std::istringstream lines(expected.substr(1));
        for (const auto& call : calls) {
            std::string line;
            std::getline(lines, line);
            for (const auto& [mark, name] : names) {
                line = std::regex_replace(line, std::regex(mark), name);
            }
            EXPECT_FALSE(call()) << line;
            const std::string text = m_log.sink->TakeText();
            EXPECT_EQ(text.substr(std::min(text.rfind('\n'), text.size())), "\n3 Variant " + line);
        }
    }

    unsigned long long& Bytes(unsigned long long bytes) { return m_bytes = bytes; }

    // Calls the functions of the forms for element type E.
    template <class E>
    Calls CallsOf(VariantBase* scalar, VariantBase* array) {
        return {
            [=] { return ReadScalarValueFromStringImp<E>(scalar, "7"); },
            [=] { return ReadVectorValueFromStringImp<E>(array, "7", false); },
            [=] { return !WriteScalarValueToStringImp<E>(scalar).empty(); },
            [=] { return !WriteVectorValueToStringImp<E>(array, false).empty(); },
            [=] { return AddElementToVectorAsStringImp<E>(array, 0, "7", false); },
            [=] { return RemoveElementFromVectorImp<E>(0, array, false); },
            [=, this] { return ReadScalarValueFromStreamImp<E>(scalar, m_in); },
            [=, this] { return ReadVectorValueFromStreamImp<E>(array, m_in); },
            [=, this] { return WriteVectorValueToStreamImp<E>(array, m_out); },
            [=, this] { return ReadScalarValueFromBufferImp<E>(scalar, m_block, Bytes(64)); },
            [=, this] { return ReadVectorValueFromBufferImp<E>(array, m_block, Bytes(64), true); },
            [=, this] { return WriteVectorValueToBufferImp<E>(array, m_block, Bytes(64), true); },
            [=, this] { return WriteScalarValueToStreamImp<E>(scalar, m_out); },
            [=, this] { return WriteScalarValueToBufferImp<E>(scalar, m_block, Bytes(64)); },
        };
    }

    // Checks them without a variant and with one of another shape. An array can be written as a
    // scalar string, so the last two succeed for strings.
    template <class E>
    void CheckForms() {
        Check<E>(CallsOf<E>(nullptr, nullptr), R"(
[ReadScalarValueFromStringImp< {std::string|T} >] Invalid variant pointer passed into function
[ReadVectorValueFromStringImp< T >] Invalid variant pointer passed into function
[WriteScalarValueToStringImp< {std::string|{tag}} >] Invalid variant pointer passed to function
[WriteVectorValueToStringImp< {tag} >] Invalid variant pointer passed to function
[AddElementToVectorAsStringImp< {tag} >] Invalid pointer passed to function
[RemoveElementFromVectorImp< std::vector< T > >] Invalid variant pointer passed to function
[ReadScalarValueFromStreamImp< {std::string|T} >] Invalid variant pointer passed into function
[ReadVectorValueFromStreamImp< {std::string|T} >] Invalid variant pointer passed into function
[WriteVectorValueTo{Stream|Buffer}Imp< {std::string|T} >] Invalid variant pointer passed to function
[ReadScalarValueFromBufferImp< {std::string|T} >] Invalid pointer passed into function
[ReadVectorValueFromBufferImp< {std::string|T} >] Invalid pointer passed into function
[WriteVectorValueToBufferImp< {std::string|T} >] Invalid variant pointer passed to function
[WriteScalarBufferToStreamImp< {std::string|T} >] Invalid variant pointer passed to function
[WriteScalarValueToBufferImp< {std::string|T} >] Invalid variant pointer passed to function)");
        Calls calls = CallsOf<E>(&m_fixed, &m_number);
        calls.resize(NumericElement<E> ? calls.size() : calls.size() - 2);
        Check<E>(calls, R"(
[ReadScalarValueFromStringImp< {std::string|T} >] Unable to set value 7 into variant of type 292
[ReadVectorValueFromStringImp< {tag} >] Unable to set value 7 into variant of type {S32|36}
[WriteScalarValueToStringImp< {std::string|{tag}} >] Unable to get value from variant of type 292 to write to string
[WriteVectorValueToStringImp< {tag} >] Unable to get value from variant of type 36 to write to string
[AddElementToVectorAsStringImp< {tag} >] Unable to retrieve value vector of type {E} from variant of type {int}
[RemoveElementFromVectorImp< std::vector< T > >] Unable to get vector to remove 0th element
[ReadScalarValueFromStreamImp< {std::string|T} >] Unable to set variant of type 292 with object of type {std::string|{E}}
[ReadVectorValueFromStreamImp< {std::string|T} >] Unable to set variant of type 36 with object of type {std::string|{E}}
[WriteVectorValueTo{Stream|Buffer}Imp< {std::string|T} >] Unable to get value as vector of {std::string|{E}}, type is 36
[ReadScalarValueFromBufferImp< {std::string|T} >] Unable to set variant of type 292 with value of type {std::string|{E}}
[ReadVectorValueFromBufferImp< {std::string|T} >] Unable to set value of type {std::vector< std::string >|{E}} into variant of type 36
[WriteVectorValueToBufferImp< {std::string|T} >] Unable to get value as vector of {std::string|{E}}, type is 36
[WriteScalarBufferToStreamImp< T >] Unable to convert variant of type 292 to object of type {E}
[WriteScalarValueToBufferImp< T >] Unable to convert variant of type 292 to object of type {E})");
    }

    test::ScopedLogger m_log;
    std::istringstream m_in{std::string(64, '\0')};
    std::ostringstream m_out;
    char m_block[64] = {};
    unsigned long long m_bytes = 0;
    Variant<int> m_number{5};
    Variant<Ints> m_array{{1, 2}};
    Variant<Ints> m_fixed{{1, 2}, true};
    Variant<Texts> m_texts{{"a"}};
};

TEST_F(VariantMessagesTest, OfTheFormsWithoutAVariantOrWithAnotherShape) {
    CheckForms<int>();
    CheckForms<signed char>();
    CheckForms<std::string>();
}

TEST_F(VariantMessagesTest, OfTheTextForm) {
    Variant<std::vector<signed char>> bytes({1});
    Variant<std::vector<unsigned char>> none;
    const Calls calls = {
        [&] { return m_number.ReadValueFromString("", false); },
        [&] { return m_number.ReadValueFromString("x", false); },
        [&] { return m_array.ReadValueFromString("5", true); },
        [&] { return m_array.ReadValueFromString("x`1", true); },
        [&] { return m_array.ReadValueFromString("3`7`8", true); },
        [&] { return bytes.ReadValueFromString("1`x", false); },
        [&] { return m_array.AddElementToVectorAsString(0, nullptr, false); },
        [&] { return m_array.AddElementToVectorAsString(0, "x", false); },
        [&] { return bytes.AddElementToVectorAsString(0, "-129", false); },
        [&] { return none.AddElementToVectorAsString(-1, "256", false); },
        [&] { return m_array.AddElementToVectorAsString(2, "1", false); },
        [&] { return m_fixed.AddElementToVectorAsString(0, "1", false); },
        [&] { return RemoveElementFromVectorImp<int>(1, &m_fixed, false); },
    };
    Check(calls, R"(
[ReadScalarValueFromStringImp< T >] Invalid string passed into function
[ReadScalarValueFromStringImp< T >] Unable to read value x into variant of type 36
[ReadVectorValueFromStringImp< T >] Not enough elements in this string (1) for a valid vector!
[ReadVectorValueFromStringImp< T >] Unable to read number of values from x`1
[ReadVectorValueFromStringImp< T >] There should be 3 elements in the vector, but there are only 2...
[ReadVectorValueFromStringImp< ::int8_t >] Unable to read value x into variant of type 545
[VariantBase::AddElementToVectorAsString] Invalid string value passed to function
[AddElementToVectorAsStringImp< T >] Unable to turn x into value of type {int}
[AddElementToVectorAsStringImp< ::int8_t >] Value -129 is out of range for a ::int8_t
[AddElementToVectorAsStringImp< ::uint8_t >] Value 256 is out of range for ::uint8_t
[AddElementToVectorAsStringImp< T >] Unable to insert element at index 2
[AddElementToVectorAsStringImp< T >] Unable to reset value vector to variant
[RemoveElementFromVectorImp< std::vector< T > >] Unable to reset vector to variant)");
}

TEST_F(VariantMessagesTest, OfTheStreamForm) {
    const auto read = [](const char* type, const std::string& bytes, std::ios::iostate thrown) {
        return [=] {
            std::istringstream in(bytes);
            in.exceptions(thrown);
            return VariantBase::CreateByTypeName(type)->ReadValueFromStream(in);
        };
    };
    const std::string two("\0\0\0\0\0\0\0\2", 8);
    const Calls calls = {
        read("S32", "abc", {}),          read("S32", "abc", std::ios::failbit),
        read("string", "abc", {}),       read("string", "abc", std::ios::failbit),
        read("U16[]", "abc", {}),        read("U16[]", two + "abc", {}),
        read("string[]", two + "a", {}), read("string[]", two + "a", std::ios::failbit),
    };
    Check(calls, R"(
[ReadScalarValueFromStreamImp< T >]  Unable to read 4 bytes from input stream
[ReadScalarValueFromStreamImp< T >] Caught exception while reading 4 bytes from input stream (basic_ios::clear: iostream error)
[ReadScalarValueFromStreamImp< std::string >]  Unable to read string from input stream
[ReadScalarValueFromStreamImp< std::string >] Caught exception while reading 4 bytes from input stream (basic_ios::clear: iostream error)
[ReadVectorValueFromStreamImp< T >]  Unable to read 8 bytes from input stream
[ReadVectorValueFromStreamImp< T >]  Unable to read 4 bytes from input stream
[ReadVectorValueFromStreamImp< std::string >]  Unable to read single byte from input stream
[ReadVectorValueFromStreamImp< std::string >] Caught exception while reading single byte from input stream (basic_ios::clear: iostream error))");
}

TEST_F(VariantMessagesTest, OfTheBufferForm) {
    std::string two("\0\0\0\0\0\0\0\2x", 9);
    Variant<std::string> text("7");
    const auto read = [&](VariantBase& value, std::size_t size) {
        return [&, size] { return value.ReadValueFromBuffer(&two[9 - size], Bytes(size), true); };
    };
    const auto write = [&](VariantBase& value, std::size_t size) {
        return [&, size] { return value.WriteValueToBuffer(m_block, Bytes(size), true); };
    };
    const Calls calls = {
        read(m_number, 3),
        read(text, 1),
        read(m_array, 7),
        read(m_array, 9),
        read(m_texts, 9),
        write(m_number, 3),
        write(text, 1),
        write(m_array, 15),
        [&] {
            return ReadVectorValueFromBufferImp<std::string>(&m_array, m_block, m_bytes, false);
        },
        [&] { return Variant<Longs>().ReadValueFromBuffer(m_block, m_bytes, false); },
    };
    Check(calls, R"(
[ReadScalarValueFromBufferImp< T >] Trying to read 4 bytes from buffer for type {int} but only 3 bytes are available
[ReadScalarValueFromBufferImp< std::string >] Trying to read string from buffer but no terminating character found in 1 bytes
[ReadVectorValueFromBufferImp< T >] Not enough bytes to specify the size of the vector
[ReadVectorValueFromBufferImp< T >] 9 bytes are not enough to hold to hold 2 elements of type {int} and size descriptor
[ReadVectorValueFromBufferImp< std::string >] 9 bytes are not enough to hold 2 strings (or null termination is missing)
[WriteScalarValueToBufferImp< T >] Trying to write 4 bytes to buffer that only has 3 bytes available
[WriteScalarValueToBufferImp< std::string >] Trying to write 2 bytes to buffer that only has 1 bytes available
[WriteVectorValueToBufferImp< T >] Full size of vector is 16, but only 15 bytes are available
[ReadVectorValueFromBufferImp< T >] Unable to determine size from existing vector
[ReadVectorValueFromBufferImp< T >] Existing vector has size 0)");
}

TEST_F(VariantMessagesTest, OfConversion) {
    Variant<Ints> one({1}, true);
    Variant<Longs> none({}, true);
    Variant<long long> wide;
    Variant<Texts> fixed({"a"}, true);
    Ints ints{1, 2};
    Longs longs;
    std::string text;
    const Calls calls = {
        [&] { return m_fixed.SetValue(Ints{1}, false); },
        [&] { return one.SetValue(1, false); },
        [&] { return m_array.GetValue(&ints[0], false); },
        [&] { return m_number.SetValue(5LL, false); },
        [&] { return wide.GetValue(&ints[0], false); },
        [&] { return m_texts.SetValue(ints, false); },
        [&] { return m_texts.GetValue(&ints, false); },
        [&] { return none.SetValue(ints, false); },
        [&] { return FromInts::SetValueImp(&none, ints, false); },
        [&] { return FromInt::SetValueImp(&m_number, 1, false); },
        [&] { return FromInt::GetValueImp(&m_array, &longs.emplace_back(), false); },
        [&] { return FromInts::SetValueImp(&m_array, Ints(2), false); },
        [&] { return FromInts::GetValueImp(&m_number, &longs, false); },
        [&] { return FromText::AddElementToVector(0, &m_number, &text, false); },
        [&] { return FromText::AddElementToVector(1, &m_texts, &text, false); },
        [&] { return FromText::AddElementToVector(-1, &fixed, &text, false); },
    };
    Check(calls, R"(
[VariantBase::SetValue] Source array has 1 elements, but variant is fixed at 2 elements
[VariantBase::SetValue] Source and target cannot agree on array type (sourceID=36/targetID=292)
[VariantBase::GetValue] Source and target cannot agree on array type (sourceID=548/targetID=36)
[VariantBase::SetValue] Unable to Convert to variant type S32 from {long}!
[VariantBase::GetValue] Unable to convert from variant type {long} to {int}!
[VariantBase::SetValue] Unable to secondarily convert to variant type string[] from {ints}!
[VariantBase::GetValue] Unable to secondarily convert variant value of type {texts} to object of type {ints}
[VariantBase::SetValue] Unable to secondarily convert to variant type S64[0] from {ints}!
[VariantValueConverter< std::vector< SourceT >, std::vector< TargetT > >::SetValueImp] Array size is fixed at 0, but tried to set 2-element array to value
[VaraintValueConverter< SourceT, TargetT >::SetValueImp] Could not set value of type {int} to variant of type {int} (36)
[GetValueImp< scalar >] Unable to get value into object of type {int}!
[VariantValueConverter< std::vector< SourceT >, std::vector< TargetT > >::SetValueImp] Unable to set array of 2 elements to variant value
[VariantValueConverter< std::vector< SourceT >, std::vector< TargetT > >::GetValueImp] Unable to get vector of values into temp vector
[VariantValueConverter< SourceT, std::vector< TargetT > >::AddElementToVector] Unable to extract values from variant prior to insertion
[VariantValueConverter< std::string, std::vector< std::string > >::AddElementToVector] Unable to insert element at index 1
[VariantValueConverter< SourceT, std::vector< TargetT > >::AddElementToVector] Unable to reset vector values after insertion)");
}

}  // namespace
}  // namespace zel
