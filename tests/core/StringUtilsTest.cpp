#include "zel/core/StringUtils.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <tuple>
#include <utility>

namespace zel {
namespace {

// The text of the number that is read, or "-" if the text is refused.
template <class T>
std::string Read(const std::string& text, int radix = 0) {
    T value = T(77);
    const bool isRead = StringUtils::NumberFromString(text, value, radix);
    EXPECT_TRUE(isRead || value == T(77));
    return isRead ? StringUtils::NumberAsString(value) : "-";
}

TEST(StringUtilsTest, ReadsANumberAndWritesItsShortestText) {
    using Text = const char*;
    const std::tuple<Text, int, Text, Text, Text> rows[] = {
        {"+42", 0, "42", "42", "42"},
        {"007", 0, "7", "7", "7"},
        {"0x1F", 0, "31", "31", "-"},
        {"-0X1f", 0, "-31", "-", "-"},
        {"-0", 0, "0", "-", "-0"},
        {"0xFFFFFFFF", 0, "-", "4294967295", "-"},
        {"4294967296", 0, "-", "-", "4294967296"},
        {"-2147483648", 0, "-2147483648", "-", "-2147483648"},
        {".5e1", 0, "-", "-", "5"},
        {"5e-324", 0, "-", "-", "5e-324"},
        {"Inf", 0, "-", "-", "inf"},
        {"-nAN", 10, "-", "-", "-nan"},
        {"0x1F", 10, "-", "-", "-"},
        {"1F", 16, "31", "31", "-"},
        {"0x1F", 16, "31", "31", "-"},
        {"1", 8, "-", "-", "-"},
    };
    for (const auto& [text, radix, asInt, asUnsigned, asDouble] : rows) {
        EXPECT_EQ(Read<int>(text, radix), asInt) << text;
        EXPECT_EQ(Read<unsigned>(text, radix), asUnsigned) << text;
        EXPECT_EQ(Read<double>(text, radix), asDouble) << text;
    }
    for (const char* text : {"", "+", "0x", "+-1", "--1", "0x-1", " 1", "1 ", "1,5", "1e999",
                             "1e-999", "infinity", "nan(1)"}) {
        EXPECT_EQ(Read<int>(text), "-") << text;
        EXPECT_EQ(Read<double>(text), "-") << text;
    }
    EXPECT_EQ(Read<std::uint8_t>("256"), "-");
    EXPECT_EQ(Read<std::int8_t>("-0x80"), "-128");
    EXPECT_EQ(Read<float>("0.1"), "0.1");
}

TEST(StringUtilsTest, FormatsLowersAndSwaps) {
    std::string text = "old";
    EXPECT_TRUE(StringUtils::FromString(std::string(), text, 10));
    EXPECT_EQ(text, "");
    EXPECT_EQ(StringUtils::Format("%5000s%i", "", 8), std::string(5000, ' ') + '8');
    EXPECT_EQ(StringUtils::ToLower("AZ[\xC4]az"), "az[\xC4]az");
    EXPECT_EQ(StringUtils::ByteSwap(0x1234), 0x3412);
}

std::string Encoded(const std::string& text) {
    std::ostringstream out;
    StringUtils::Encode(text.data(), static_cast<int>(text.size()), out);
    return out.str();
}

TEST(StringSegmentsTest, KeepTextReadableAndOtherBytesInHexadecimal) {
    const std::pair<std::string, const char*> rows[] = {
        {"", R"("")"},
        {"a b$", R"("a b$")"},
        {"\"\\\n\t\r", R"("\"\\\n\t\r")"},
        {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x8C\xA7",
         "\"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x8C\xA7\""},
        {std::string("a\0\x01\x7Fz", 5), R"("a"$00017f$"z")"},
        {"\xFF-\xC3-\xC0\xAF-\xE0\x80\xAF-\xED\xA0\x80-\xF4\x90\x80\x80-\xC2\x80-\xE2\x82",
         R"($ff$"-"$c3$"-"$c0af$"-"$e080af$"-"$eda080$"-"$f4908080$"-"$c280$"-"$e282$)"},
    };
    for (const auto& [text, segments] : rows) {
        EXPECT_EQ(Encoded(text), segments);
    }
    std::ostringstream out;
    StringUtils::Encode("x", -1, out);
    EXPECT_EQ(out.str(), R"("")");
}

TEST(StringSegmentsTest, KeepEveryByteAtEveryPlaceOfAText) {
    // The number of places before and after the byte.
    const std::pair<std::size_t, std::size_t> rows[] = {{1, 1}, {2, 2}, {1, 4}, {4, 1}, {3, 8},
                                                        {7, 8}, {8, 1}, {9, 3}, {12, 2}};
    for (int byte = 0; byte <= 0xFF; ++byte) {
        for (const auto& [before, after] : rows) {
            const std::string middle(1, static_cast<char>(byte));
            const std::string text = std::string(before, 'x') + middle + std::string(after, 'x');
            std::string segments = Encoded('x' + middle + 'x');
            segments.insert(segments.find('x'), before - 1, 'x');
            segments.insert(segments.rfind('x'), after - 1, 'x');
            EXPECT_EQ(Encoded(text), segments) << byte;
            std::istringstream in(segments);
            std::string back;
            while (in.peek() != std::char_traits<char>::eof()) {
                std::string piece;
                ASSERT_TRUE(StringUtils::Decode(in, &piece)) << byte;
                back += piece;
            }
            EXPECT_EQ(back, text);
        }
    }
}

TEST(StringSegmentsTest, DecodeConsumesOneSegmentOnly) {
    // "old" is the value before the call, which a malformed segment leaves unchanged.
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"("ab\\\"\n\t\r"=)", "ab\\\"\n\t\r", "="},
        {"$6a6b$$6c$", "jk", "$6c$"},
        {"\"a\nb\x01$\"\"", "a\nb\x01$", "\""},
        {"\"\"x", "", "x"},
        {"$$", "", ""},
        {"", "old", ""},
        {"x", "old", ""},
        {"\"a\\", "old", ""},
        {"$6", "old", ""},
        {"$g6$", "old", "6$"},
    };
    for (const auto& [input, expected, rest] : rows) {
        std::istringstream in(input);
        std::string value = "old";
        EXPECT_EQ(StringUtils::Decode(in, &value), std::string("old") != expected) << input;
        EXPECT_EQ(value, expected) << input;
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), rest) << input;
    }
}

}  // namespace
}  // namespace zel
