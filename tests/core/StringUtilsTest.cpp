#include "zel/core/StringUtils.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
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

// As int, unsigned and double, "-" where the text is refused and the value untouched.
std::string Readings(const std::string& text, int radix = 0) {
    return Reading<int>(text, radix) + ' ' + Reading<unsigned>(text, radix) + ' ' +
           Reading<double>(text, radix);
}

TEST(StringUtilsTest, ReadsANumberThatMakesUpTheWholeText) {
    const std::pair<const char*, const char*> rows[] = {
        {"0", "0 0 0"},        {"+42", "42 42 42"},
        {"007", "7 7 7"},      {"0x1F", "31 31 -"},
        {"-0X1f", "-31 - -"},  {"2147483648", "- 2147483648 2147483648"},
        {"-0", "0 - -0"},      {"0xFFFFFFFF", "- 4294967295 -"},
        {"1.5", "- - 1.5"},    {"4294967296", "- - 4294967296"},
        {".5e1", "- - 5"},     {"1e999", "- - -"},
        {"1e-999", "- - -"},   {"Inf", "- - inf"},
        {"infinity", "- - -"}, {"nan(1)", "- - -"},
        {"", "- - -"},         {"+", "- - -"},
        {"0x", "- - -"},       {"+-1", "- - -"},
        {"--1", "- - -"},      {"0x-1", "- - -"},
        {" 1", "- - -"},       {"1 ", "- - -"},
        {"1,5", "- - -"},
    };
    for (const auto& [text, readings] : rows) {
        EXPECT_EQ(Readings(text), readings) << text;
    }
    EXPECT_EQ(Readings("-42", 10), "-42 - -42");
    EXPECT_EQ(Readings("-iNF", 10), "- - -inf");
    EXPECT_EQ(Readings("0x1F", 10), "- - -");
    EXPECT_EQ(Readings("1F", 16), "31 31 -");
    EXPECT_EQ(Readings("0x1F", 16), "31 31 -");
    EXPECT_EQ(Readings("1", 8), "- - -");
    EXPECT_EQ(Reading<int>("2147483647"), "2147483647");
    EXPECT_EQ(Reading<int>("-2147483648"), "-2147483648");
    double nan = 0;
    EXPECT_TRUE(FromString("-NaN", nan, 0) && std::isnan(nan));
    EXPECT_EQ(Reading<std::uint8_t>("255"), "255");
    EXPECT_EQ(Reading<std::uint8_t>("256"), "-");
    EXPECT_EQ(Reading<std::int8_t>("-0x80"), "-128");
    EXPECT_EQ(Reading<std::int8_t>("-129"), "-");
    std::string text = "old";
    EXPECT_TRUE(FromString(std::string(), text, 10) && text.empty());
}

// Every value goes to text and comes back to the same bits, whatever the locale.
template <class T, class Bits>
void ExpectRoundTrip(std::mt19937_64& random) {
    for (int i = 0; i < 20000; ++i) {
        const T value = std::bit_cast<T>(static_cast<Bits>(random()));
        T back{};
        if (std::isnan(value)) {
            continue;
        }
        ASSERT_TRUE(FromString(AsString(value), back, 0)) << AsString(value);
        ASSERT_EQ(std::bit_cast<Bits>(back), std::bit_cast<Bits>(value)) << AsString(value);
    }
}

TEST(StringUtilsTest, WritesTheShortestNumberThatReadsBackToTheSame) {
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    std::mt19937_64 random(1);
    ExpectRoundTrip<float, std::uint32_t>(random);
    ExpectRoundTrip<double, std::uint64_t>(random);
    EXPECT_EQ(AsString(0.1F), "0.1");
    EXPECT_EQ(AsString(1e23), "1e+23");
    EXPECT_EQ(AsString(std::numeric_limits<long long>::min()), "-9223372036854775808");
    std::setlocale(LC_ALL, "C");
}

TEST(StringUtilsTest, FormatsLowersAndSwaps) {
    EXPECT_EQ(StringUtils::Format("%s[%i]", "U16", 8), "U16[8]");
    EXPECT_EQ(StringUtils::Format("%s", std::string(5000, 'x').c_str()).size(), 5000U);
    EXPECT_EQ(StringUtils::ToLower("AZ[\xC4]az"), "az[\xC4]az");
    EXPECT_EQ(StringUtils::ByteSwap(0x1234), 0x3412);
}

TEST(StringUtilsTest, ThrowExLogsAndRaisesItsException) {
    const test::ScopedLogger log;
    try {
        StringUtils::ThrowEx("no number");
    } catch (const StringUtilsEx& exception) {
        EXPECT_EQ(exception.AsString(), "StringUtilsEx: no number");
        EXPECT_EQ(exception.GetFile(), "../core/StringUtils");
    }
    EXPECT_EQ(log.sink->TakeText(), "\n2 StringUtils Exception of type StringUtilsEx. no number");
}

TEST(StringSegmentsTest, KeepTextReadableAndOtherBytesInHexadecimal) {
    const std::pair<std::string, const char*> rows[] = {
        {"", R"("")"},
        {"a b$", R"("a b$")"},
        {"\"\\\n\t\r", R"("\"\\\n\t\r")"},
        {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x8C\xA7",
         "\"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x8C\xA7\""},
        {std::string("a\0\x01\x7Fz", 5), R"("a"$00017f$"z")"},
        {"\xFF", "$ff$"},
        {"\xC3", "$c3$"},
        {"\xC0\xAF", "$c0af$"},
        {"\xE0\x80\xAF", "$e080af$"},
        {"\xED\xA0\x80", "$eda080$"},
        {"\xF4\x90\x80\x80", "$f4908080$"},
        {"\xC2\x80", "$c280$"},
        {"\xE2\x82", "$e282$"},
    };
    for (const auto& [text, segments] : rows) {
        std::ostringstream out;
        StringUtils::Encode(text.data(), static_cast<int>(text.size()), out);
        EXPECT_EQ(out.str(), segments);
    }
}

TEST(StringSegmentsTest, DecodeTakesOneSegmentAndNotAByteMore) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {R"("ab"=)", "ab", "="},
        {"$6a6b$$6c$", "jk", "$6c$"},
        {"\"a\nb\x01$\"\"", "a\nb\x01$", "\""},
        {"\"\"x", "", "x"},
        {"$$", "", ""},
    };
    for (const auto& [input, expected, rest] : rows) {
        std::istringstream in(input);
        std::string value;
        EXPECT_TRUE(StringUtils::Decode(in, &value)) << input;
        EXPECT_EQ(value, expected);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), rest) << input;
    }
    for (const char* malformed :
         {"", "x", "\"a", "\"a\\", R"("\x")", "$6", "$6$", "$6g$", "$4A$"}) {
        std::istringstream in(malformed);
        std::string value = "old";
        EXPECT_FALSE(StringUtils::Decode(in, &value)) << malformed;
        EXPECT_EQ(value, "old") << malformed;
    }
}

}  // namespace
}  // namespace zel
