#include "zel/core/StringUtils.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <tuple>
#include <utility>

namespace zel {
namespace {

using StringUtils::AsString;
using StringUtils::FromString;

template <class T>
std::string Reading(const std::string& text, int radix = 0) {
    T value = T(77);
    const bool isRead = StringUtils::NumberFromString(text, value, radix);
    EXPECT_TRUE(isRead || value == T(77)) << text;
    return isRead ? StringUtils::NumberAsString(value) : "-";
}

TEST(StringUtilsTest, ReadsANumberThatMakesUpTheWholeText) {
    // As int, unsigned and double, "-" where the text is refused and the value untouched.
    const auto readings = [](const std::string& text, int radix) {
        return Reading<int>(text, radix) + ' ' + Reading<unsigned>(text, radix) + ' ' +
               Reading<double>(text, radix);
    };
    const std::pair<const char*, const char*> rows[] = {
        {"0", "0 0 0"},       {"+42", "42 42 42"},
        {"007", "7 7 7"},     {"0x1F", "31 31 -"},
        {"-0X1f", "-31 - -"}, {"2147483648", "- 2147483648 2147483648"},
        {"-0", "0 - -0"},     {"0xFFFFFFFF", "- 4294967295 -"},
        {"1.5", "- - 1.5"},   {"4294967296", "- - 4294967296"},
        {".5e1", "- - 5"},    {"2147483647", "2147483647 2147483647 2147483647"},
        {"Inf", "- - inf"},   {"-2147483648", "-2147483648 - -2147483648"},
        {"-nAN", "- - -nan"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(readings(text, 0), expected) << text;
    }
    for (const char* text : {"", "+", "0x", "+-1", "--1", "0x-1", " 1", "1 ", "1,5", "1e999",
                             "1e-999", "infinity", "nan(1)"}) {
        EXPECT_EQ(readings(text, 0), "- - -") << text;
    }
    EXPECT_EQ(readings("-42", 10) + readings("-iNF", 10), "-42 - -42- - -inf");
    EXPECT_EQ(readings("1F", 16) + readings("0x1F", 16), "31 31 -31 31 -");
    EXPECT_EQ(readings("0x1F", 10) + readings("1", 8), "- - -- - -");
    EXPECT_EQ(Reading<std::uint8_t>("255") + Reading<std::uint8_t>("256"), "255-");
    EXPECT_EQ(Reading<std::int8_t>("-0x80") + Reading<std::int8_t>("-129"), "-128-");
    std::string text = "old";
    EXPECT_TRUE(FromString(std::string(), text, 10) && text.empty());
}

TEST(StringUtilsTest, WritesTheShortestNumberThatReadsBackToTheSame) {
    EXPECT_EQ(AsString(0.1F), "0.1");
    EXPECT_EQ(AsString(1e23), "1e+23");
    EXPECT_EQ(AsString(std::numeric_limits<double>::denorm_min()), "5e-324");
    EXPECT_EQ(Reading<double>("5e-324") + Reading<float>("0.1"), "5e-3240.1");
    EXPECT_EQ(AsString(std::numeric_limits<long long>::min()), "-9223372036854775808");
}

TEST(StringUtilsTest, FormatsLowersAndSwaps) {
    EXPECT_EQ(StringUtils::Format("%s[%i]", "U16", 8), "U16[8]");
    EXPECT_EQ(StringUtils::Format("%5000s", "").size(), 5000U);
    EXPECT_EQ(StringUtils::ToLower("AZ[\xC4]az"), "az[\xC4]az");
    EXPECT_EQ(StringUtils::ByteSwap(0x1234), 0x3412);
}

TEST(StringUtilsTest, ThrowExLogsAndRaisesItsException) {
    const test::ScopedLogger log;
    try {
        StringUtils::ThrowEx("no number");
    } catch (const StringUtilsEx& exception) {
        EXPECT_EQ(exception.GetType() + exception.GetFile(), "StringUtilsEx../core/StringUtils");
    }
    EXPECT_EQ(log.sink->TakeText(), "\n2 StringUtils Exception of type StringUtilsEx. no number");
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
}

TEST(StringSegmentsTest, TellEveryByteApartWhereverItStandsInALongText) {
    for (int byte = 0; byte <= 0xFF; ++byte) {
        for (std::size_t before = 1; before < 8; ++before) {
            const std::string middle(1, static_cast<char>(byte));
            const std::string text = std::string(before, 'x') + middle + std::string(8, 'x');
            std::string segments = Encoded('x' + middle + 'x');
            segments.insert(segments.find('x'), before - 1, 'x');
            segments.insert(segments.rfind('x'), 7, 'x');
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

TEST(StringSegmentsTest, DecodeTakesOneSegmentAndNotAByteMore) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"("ab\\\"\n\t\r"=)", "ab\\\"\n\t\r", "="},
        {"$6a6b$$6c$", "jk", "$6c$"},
        {"\"a\nb\x01$\"\"", "a\nb\x01$", "\""},
        {"\"\"x", "", "x"},
        {"$$", "", ""},
    };
    for (const auto& [input, expected, rest] : rows) {
        std::istringstream in(input);
        std::string value = "old";
        EXPECT_TRUE(StringUtils::Decode(in, &value) && value == expected) << input;
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), rest) << input;
    }
    for (const char* malformed : {"", "x", "\"a\\", "$6", "$g6$"}) {
        std::istringstream in(malformed);
        std::string value = "old";
        EXPECT_TRUE(!StringUtils::Decode(in, &value) && value == "old") << malformed;
    }
}

}  // namespace
}  // namespace zel
