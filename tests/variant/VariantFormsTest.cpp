#include "zel/variant/Variant.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

namespace zel {
namespace {

using test::ForEachElement;
using test::Sample;
using Value = RCPtr<VariantBase>;

std::string Hex(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        text += StringUtils::Format(text.empty() ? "%02X" : " %02X", static_cast<unsigned char>(c));
    }
    return text;
}

std::string InStream(const Value& value) {
    std::ostringstream out;
    EXPECT_TRUE(value->WriteValueToStream(out));
    return out.str();
}

std::string InBuffer(const Value& value, bool withSize) {
    std::string buffer(200, '?');
    unsigned long long bytes = buffer.size() - 1;
    char* const end = static_cast<char*>(value->WriteValueToBuffer(&buffer[1], bytes, withSize));
    EXPECT_EQ(static_cast<unsigned long long>(&buffer[0] + buffer.size() - end), bytes);
    return buffer.substr(1, buffer.size() - 1 - static_cast<std::size_t>(bytes));
}

// A variant of the same type with another value, of the same length where that matters.
Value Another(const Value& value) {
    const Value other = value->Clone();
    other->SetMaximumValue();
    return other;
}

TEST(VariantFormsTest, EveryTypeComesBackFromEveryForm) {
    ForEachElement([]<class E>(ElementTraits<E>) {
        const Value values[] = {
            new Variant<E>(Sample<E>(1)),
            new Variant<std::vector<E>>({Sample<E>(1), Sample<E>(2), Sample<E>(3)}),
            new Variant<std::vector<E>>({Sample<E>(3), Sample<E>(2)}, true),
        };
        for (const Value& value : values) {
            SCOPED_TRACE(value->GetTypeName());
            const auto expectSame = [&](const Value& back) {
                EXPECT_TRUE(back->IsEqual(value, true, false, true));
            };
            for (const bool withSize : {false, true}) {
                const Value fromText = Another(value);
                EXPECT_TRUE(
                    fromText->ReadValueFromString(value->WriteValueToString(withSize), withSize));
                expectSame(fromText);
                std::string bytes = InBuffer(value, withSize);
                unsigned long long left = bytes.size() + 5;
                const Value fromBuffer = Another(value);
                bytes += "tail!";
                EXPECT_EQ(fromBuffer->ReadValueFromBuffer(&bytes[0], left, withSize),
                          &bytes[bytes.size() - 5]);
                EXPECT_EQ(left, 5U);
                expectSame(fromBuffer);
            }
            std::istringstream in(InStream(value));
            const Value fromStream = Another(value);
            EXPECT_TRUE(fromStream->ReadValueFromStream(in));
            EXPECT_TRUE(in.good());
            expectSame(fromStream);
            EXPECT_EQ(InStream(value), InBuffer(value, true));
        }
    });
}

TEST(VariantFormsTest, BytesAreThoseOfTheFormat) {
    const struct {
        Value value;
        const char* bytes;
    } rows[] = {
        {new Variant<int>(258), "00 00 01 02"},
        {new Variant<float>(1), "3F 80 00 00"},
        {new Variant<double>(1), "3F F0 00 00 00 00 00 00"},
        {new Variant<std::vector<unsigned short>>({1, 2}), "00 00 00 00 00 00 00 02 00 01 00 02"},
        {new Variant<std::string>("ab"), "61 62 00"},
        {new Variant<std::vector<std::string>>({"a", ""}), "00 00 00 00 00 00 00 02 61 00 00"},
        {new Variant<std::vector<unsigned char>>(), "00 00 00 00 00 00 00 00"},
        {new Variant<signed char>(-2), "FE"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Hex(InStream(row.value)), row.bytes);
        EXPECT_EQ(Hex(InBuffer(row.value, true)), row.bytes);
    }
    const Value zero(new Variant<std::string>(std::string("a\0b", 3)));
    EXPECT_EQ(Hex(InStream(zero)), "61 00 62 00");
    EXPECT_EQ(Hex(InBuffer(zero, false)), "61 00 00 00");
}

// Long arrays pass through the forms in blocks and by wide instructions.
TEST(VariantFormsTest, ArraysOfEveryLengthKeepTheirNumbers) {
    ForEachElement([]<class E>(ElementTraits<E>) {
        if constexpr (NumericElement<E>) {
            for (const std::size_t count : {1U, 15U, 16U, 17U, 100U, 4095U, 4097U, 20000U}) {
                std::vector<E> numbers(count);
                for (std::size_t i = 0; i < count; ++i) {
                    numbers[i] = static_cast<E>(i * 7);
                }
                const Variant<std::vector<E>> value(numbers);
                Variant<std::vector<E>> back;
                std::stringstream stream;
                Variant<std::vector<E>>(value).WriteValueToStream(stream);
                ASSERT_TRUE(back.ReadValueFromStream(stream));
                ASSERT_EQ(back.GetValue(), numbers);
            }
        }
    });
}

TEST(VariantFormsTest, TextIsReadAsTold) {
    const struct {
        const char* type;
        const char* text;
        bool withSize;
        const char* outcome;  // what is written then, "-" where it is refused
    } rows[] = {
        {"S32", "0x10", false, "16"},       {"S32", "", false, "-"},
        {"U8", "300", false, "44"},         {"S8", "200", false, "-56"},
        {"string", "", false, ""},          {"string", "a`b", true, "a`b"},
        {"S32[]", "", false, ""},           {"S32[]", "7`8`9", false, "7`8`9"},
        {"S32[]", "7`8`", false, "-"},      {"S32[]", "3`7`8`9", true, "7`8`9"},
        {"S32[]", "3`7`8", true, "-"},      {"S32[]", "5", true, "-"},
        {"S32[]", "0`", true, "-"},         {"S32[]", "x`1", true, "-"},
        {"S32[3]", "1`2", false, "-"},      {"S32[2]", "1`2", false, "1`2"},
        {"U8[]", "300`65", false, "44`65"}, {"string[]", "a`b`", false, "a`b`"},
        {"string[]", "2`a`b", true, "a`b"}, {"D64[]", "0.1`1e300`-inf", false, "0.1`1e+300`-inf"},
    };
    for (const auto& row : rows) {
        const Value value = VariantBase::CreateByTypeName(row.type);
        const std::string before = value->WriteValueToString(false);
        const bool isRead = value->ReadValueFromString(row.text, row.withSize);
        const std::string after = value->WriteValueToString(false);
        EXPECT_EQ(isRead ? after : "-", row.outcome) << row.type << ' ' << row.text;
        EXPECT_TRUE(isRead || after == before) << row.type << ' ' << row.text;
    }
    EXPECT_EQ(Variant<std::vector<int>>().WriteValueToString(true), "0`");
    EXPECT_EQ(Variant<int>(5, true).WriteValueToString(false), "");
    EXPECT_FALSE((Variant<int>(5, true).ReadValueFromString("5", false)));
}

TEST(VariantFormsTest, ElementsComeAndGo) {
    const auto edit = [](Value value, auto change) {
        const bool isDone = change(*value);
        return value->WriteValueToString(false) + (isDone ? "" : " refused");
    };
    const auto add = [&](const char* type, const char* text, int index, const char* element) {
        const Value value = VariantBase::CreateByTypeName(type);
        value->ReadValueFromString(text, false);
        return edit(value, [&](VariantBase& variant) {
            return variant.AddElementToVectorAsString(index, element, false);
        });
    };
    EXPECT_EQ(add("S32[]", "1`2", 0, "5"), "5`1`2");
    EXPECT_EQ(add("S32[]", "1`2", 1, "5"), "1`5`2");
    EXPECT_EQ(add("S32[]", "1`2", -1, "5"), "1`2`5");
    EXPECT_EQ(add("S32[]", "1`2", 2, "5"), "1`2 refused");
    EXPECT_EQ(add("S8[]", "1", 0, "200"), "1 refused");
    EXPECT_EQ(add("string[]", "a", -1, ""), "a`");
    EXPECT_EQ(add("S32[2]", "1`2", 1, "5"), "1`2 refused");
    EXPECT_EQ(add("S32", "1", 0, "5"), "1 refused");
    EXPECT_EQ(add("S32[]", "1", 0, nullptr), "1 refused");
    const auto remove = [&](const char* type, int index) {
        const Value value = VariantBase::CreateByTypeName(type);
        value->ReadValueFromString("1`2", false);
        return edit(value, [&](VariantBase& variant) {
            return variant.RemoveElementFromVector(index, true);
        });
    };
    EXPECT_EQ(remove("S32[]", 0), "2");
    EXPECT_EQ(remove("S32[]", 5), "1`2");
    EXPECT_EQ(remove("S32[2]", 0), "1`2 refused");
    EXPECT_THROW((Variant<std::vector<int>>().AddElementToVectorAsString(-1, "x", true)),
                 Exception);
}

// A count is somebody's word: it costs nothing but the failure.
TEST(VariantFormsTest, AHostileCountIsRefusedAndNothingChanges) {
    const std::string tail("0123456789");
    for (const unsigned long long count : {3ULL, 1ULL << 20, 1ULL << 61, ~0ULL}) {
        for (const char* type : {"U8[]", "U64[]", "string[]"}) {
            SCOPED_TRACE(type);
            const Value value = VariantBase::CreateByTypeName(type);
            value->ReadValueFromString("7", false);
            std::string bytes(8, '\0');
            const unsigned long long inOrder = Variant_ToNetworkOrder(count, false);
            std::memcpy(&bytes[0], &inOrder, sizeof inOrder);
            bytes += std::string_view(type) == "U8[]" && count == 3 ? "12" : tail;
            unsigned long long left = bytes.size();
            EXPECT_EQ(value->ReadValueFromBuffer(&bytes[0], left, true), nullptr);
            EXPECT_EQ(left, bytes.size());
            std::istringstream in(bytes);
            try {
                EXPECT_FALSE(value->ReadValueFromStream(in));
            } catch (const std::bad_alloc&) {
                EXPECT_GT(count, 1ULL << 30);
            }
            EXPECT_EQ(value->WriteValueToString(false), "7");
        }
    }
}

TEST(VariantFormsTest, AStreamThatThrowsOrIsShortFailsTheRead) {
    const test::ScopedLogger log;
    const auto read = [&](const char* type, const std::string& bytes, bool throws) {
        std::istringstream in(bytes);
        in.exceptions(throws ? std::ios_base::failbit : std::ios_base::goodbit);
        EXPECT_FALSE(VariantBase::CreateByTypeName(type)->ReadValueFromStream(in));
        return log.sink->TakeLines().at(0);
    };
    EXPECT_EQ(read("S32", "abc", false),
              "3 Variant [ReadScalarValueFromStreamImp< T >]  Unable to read 4 bytes from input "
              "stream");
    EXPECT_EQ(read("S32", "abc", true).substr(0, 87),
              "3 Variant [ReadScalarValueFromStreamImp< T >] Caught exception while reading 4 bytes"
              " fr");
    EXPECT_EQ(read("string", "abc", false),
              "3 Variant [ReadScalarValueFromStreamImp< std::string >]  Unable to read string from "
              "input stream");
    const std::string two("\0\0\0\0\0\0\0\2", 8);
    EXPECT_EQ(read("U16[]", two + "abc", false),
              "3 Variant [ReadVectorValueFromStreamImp< T >]  Unable to read 4 bytes from input "
              "stream");
    EXPECT_EQ(read("string[]", two + "a", false),
              "3 Variant [ReadVectorValueFromStreamImp< std::string >]  Unable to read single byte "
              "from input stream");
    EXPECT_EQ(read("U16[3]", two + "abcd", false),
              "3 Variant [VariantBase::SetValue] Source array has 2 elements, but variant is fixed "
              "at 3 elements");
    std::ostringstream bad;
    bad.setstate(std::ios_base::failbit);
    EXPECT_TRUE(Variant<int>(1).WriteValueToStream(bad));
}

TEST(VariantFormsTest, ABlockThatIsTooSmallIsLeftAlone) {
    const test::ScopedLogger log;
    char block[16] = "unchanged";
    unsigned long long bytes = 3;
    EXPECT_EQ(Variant<int>(1).WriteValueToBuffer(block, bytes, true), nullptr);
    EXPECT_EQ(bytes, 3U);
    EXPECT_STREQ(block, "unchanged");
    Variant<std::vector<int>> empty;
    EXPECT_EQ(empty.ReadValueFromBuffer(block, bytes, false), nullptr);
    EXPECT_EQ(empty.ReadValueFromBuffer(block, bytes, true), nullptr);
    Variant<std::vector<std::string>> noTexts;
    EXPECT_EQ(noTexts.ReadValueFromBuffer(block, bytes, false), block);
    Variant<std::string> text;
    bytes = 0;
    EXPECT_EQ(text.ReadValueFromBuffer(block, bytes, false), nullptr);
    EXPECT_EQ(ReadScalarValueFromBufferImp<int>(nullptr, block, bytes), nullptr);
    EXPECT_EQ(
        log.sink->TakeLines(),
        (std::vector<std::string>{
            "3 Variant [WriteScalarValueToBufferImp< T >] Trying to write 4 bytes to buffer that "
            "only has 3 bytes available",
            "3 Variant [ReadVectorValueFromBufferImp< T >] Existing vector has size 0",
            "3 Variant [ReadVectorValueFromBufferImp< T >] Not enough bytes to specify the size of "
            "the vector",
            "3 Variant [ReadScalarValueFromBufferImp< std::string >] Trying to read string from "
            "buffer but no terminating character found in 0 bytes",
            "3 Variant [ReadScalarValueFromBufferImp< T >] Invalid pointer passed into function"}));
}

}  // namespace
}  // namespace zel
