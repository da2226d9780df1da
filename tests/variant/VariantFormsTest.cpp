#include "zel/core/StringUtils.h"
#include "zel/variant/Variant.h"

#include "tests/variant/SampleValues.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <utility>

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
    std::string buffer(InStream(value).size() + 9, '?');
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

// Long arrays pass through the forms in blocks and by wide instructions.
TEST(VariantFormsTest, EveryTypeAndLengthComesBackFromEveryForm) {
    ForEachElement([]<class E>(ElementTraits<E>) {
        std::vector<Value> values = {
            new Variant<E>(Sample<E>(1)),
            new Variant<std::vector<E>>({Sample<E>(3), Sample<E>(2)}, true),
        };
        for (const std::size_t count : {1U, 15U, 16U, 17U, 100U, 4095U, 4097U, 20000U}) {
            std::vector<E> elements;
            while (elements.size() < count) {
                elements.push_back(Sample<E>(static_cast<int>(elements.size()) * 7));
            }
            values.push_back(new Variant<std::vector<E>>(elements));
        }
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
    const std::pair<Value, const char*> rows[] = {
        {new Variant<int>(258), "00 00 01 02"},
        {new Variant<float>(1), "3F 80 00 00"},
        {new Variant<double>(1), "3F F0 00 00 00 00 00 00"},
        {new Variant<std::vector<unsigned short>>({1, 2}), "00 00 00 00 00 00 00 02 00 01 00 02"},
        {new Variant<std::string>("ab"), "61 62 00"},
        {new Variant<std::vector<std::string>>({"a", ""}), "00 00 00 00 00 00 00 02 61 00 00"},
        {new Variant<std::vector<unsigned char>>(), "00 00 00 00 00 00 00 00"},
        {new Variant<signed char>(-2), "FE"},
    };
    for (const auto& [value, bytes] : rows) {
        EXPECT_EQ(Hex(InStream(value)), bytes);
        EXPECT_EQ(Hex(InBuffer(value, true)), bytes);
    }
    const Value zero(new Variant<std::string>(std::string("a\0b", 3)));
    EXPECT_EQ(Hex(InStream(zero)), "61 00 62 00");
    EXPECT_EQ(Hex(InBuffer(zero, false)), "61 00 00 00");
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
    const struct {
        const char* type;
        const char* text;
        int index;
        const char* element;
        const char* outcome;
    } rows[] = {
        {"S32[]", "1`2", 0, "5", "5`1`2"},        {"S32[]", "1`2", 1, "5", "1`5`2"},
        {"S32[]", "1`2", -1, "5", "1`2`5"},       {"S32[]", "1`2", 2, "5", "1`2 refused"},
        {"S8[]", "1", 0, "200", "1 refused"},     {"string[]", "a", -1, "", "a`"},
        {"S32[2]", "1`2", 1, "5", "1`2 refused"}, {"S32", "1", 0, "5", "1 refused"},
        {"S32[]", "1", 0, nullptr, "1 refused"},
    };
    const auto edit = [](const char* type, const char* text, auto change) {
        const Value value = VariantBase::CreateByTypeName(type);
        value->ReadValueFromString(text, false);
        const bool isDone = change(*value);
        return value->WriteValueToString(false) + (isDone ? "" : " refused");
    };
    for (const auto& row : rows) {
        EXPECT_EQ(edit(row.type, row.text,
                       [&](VariantBase& variant) {
                           return variant.AddElementToVectorAsString(row.index, row.element, false);
                       }),
                  row.outcome);
    }
    const auto remove = [&](const char* type, int index) {
        return edit(type, "1`2", [&](VariantBase& variant) {
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

TEST(VariantFormsTest, ABlockThatIsTooSmallIsLeftAlone) {
    char block[16] = "unchanged";
    unsigned long long bytes = 3;
    EXPECT_EQ(Variant<int>(1).WriteValueToBuffer(block, bytes, true), nullptr);
    EXPECT_EQ(Variant<std::vector<int>>().ReadValueFromBuffer(block, bytes, false), nullptr);
    EXPECT_EQ(Variant<std::vector<std::string>>().ReadValueFromBuffer(block, bytes, false), block);
    EXPECT_EQ(bytes, 3U);
    EXPECT_STREQ(block, "unchanged");
    bytes = 0;
    EXPECT_EQ(Variant<std::string>().ReadValueFromBuffer(block, bytes, false), nullptr);
}

}  // namespace
}  // namespace zel
