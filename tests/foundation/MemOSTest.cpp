#include "zel/foundation/MemOS.h"

#include "tests/support/AllocationWatch.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>
#include <vector>

namespace zel {
namespace {

TEST(MemOSTest, KeepsUpTo512CharactersWithoutTheHeap) {
    const std::string part(500, 'x');
    const std::size_t before = test::CountAllocations();
    std::size_t whenFull = 0;
    {
        MemOS text;
        EXPECT_EQ(text.GetLength(), 0);
        EXPECT_STREQ(text.GetData(), "");
        text << part << 1 << ' ' << 2.5 << ' ' << -777L << "ab";
        EXPECT_EQ(text.GetLength(), 512);
        EXPECT_EQ(text.GetData()[512], '\0');
        whenFull = test::CountAllocations();
        text << 'c';
        EXPECT_EQ(text.ToString(), part + "1 2.5 -777abc");
    }
    EXPECT_EQ(whenFull, before);
}

TEST(MemOSTest, GoesOnBehindTextThatWasTakenOutThroughEveryGrowth) {
    MemOS text;
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string piece(static_cast<std::size_t>(i % 7), static_cast<char>('a' + i % 26));
        text << piece << i << std::string_view("\0", 1);
        expected += piece + std::to_string(i) + '\0';
        ASSERT_EQ(text.GetText(), expected);
        ASSERT_EQ(text.GetData()[expected.size()], '\0');
    }
}

TEST(MemOSTest, GivesBackWhatWasWrittenInTurn) {
    MemOS text;
    EXPECT_EQ(text.get(), std::char_traits<char>::eof());
    text.clear();
    text << "12 \xFF";
    int number = 0;
    text >> number;
    EXPECT_EQ(number, 12);
    text << std::string(600, 'y') << " end";
    EXPECT_EQ(text.get(), ' ');
    EXPECT_EQ(text.get(), 0xFF);
    std::string rest;
    text >> rest;
    EXPECT_EQ(rest, std::string(600, 'y'));
    text >> rest;
    EXPECT_EQ(rest, "end");
    EXPECT_EQ(text.get(), std::char_traits<char>::eof());
    text.clear();
    text << '!';
    EXPECT_EQ(text.get(), '!');
    EXPECT_EQ(text.tellp(), std::streampos(-1));
}

// Writes the same through a stream of the standard library and through both of MemOS's ways.
template <class Write>
void ExpectSameText(const char* what, Write write) {
    std::ostringstream standard;
    standard.imbue(std::locale::classic());
    write(standard);
    MemOS own;
    write(own);
    MemOS asStream;
    write(static_cast<std::ostream&>(asStream));
    EXPECT_EQ(own.ToString(), standard.str()) << what;
    EXPECT_EQ(asStream.ToString(), standard.str()) << what;
    EXPECT_EQ(own.rdstate(), standard.rdstate()) << what;
}

// A member without a definition, and an operator that only this file can find.
struct Declared {
    static const int s_seven = 7;
};

std::ostream& operator<<(std::ostream& out, const std::vector<int>& numbers) {
    return out << numbers.size() << " numbers";
}

class CommaForPoint : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(MemOSTest, WritesWhatAStandardStreamWrites) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaForPoint));
    ExpectSameText("text", [](auto& out) {
        char array[] = "array";
        const std::string string("str\0ing", 7);
        out << 'c' << "literal" << array << string << std::string_view(string).substr(2)
            << static_cast<unsigned char>('u') << static_cast<signed char>('s');
    });
    ExpectSameText("integers", [](auto& out) {
        out << true << short(-3) << 123456 << 1234567890123LL
            << std::numeric_limits<unsigned long long>::max() << std::numeric_limits<long>::min()
            << static_cast<void*>(nullptr);
    });
    ExpectSameText("floating-point", [](auto& out) {
        for (const double value : {0.0, -0.0, 0.1, 1.0 / 3, 1e6, 1234567.0, 1e-5, 1e300, 5e-324}) {
            out << value << ' ' << static_cast<float>(value) << ' ';
        }
        out << std::numeric_limits<double>::infinity() << -std::numeric_limits<float>::quiet_NaN();
    });
    ExpectSameText("flags", [](auto& out) {
        out << std::hex << 255 << std::showbase << 255 << std::dec << std::setw(7) << "right"
            << std::setw(6) << std::setfill('*') << std::left << 12 << std::boolalpha << true
            << std::setprecision(3) << 3.14159 << std::fixed << 2.0 << std::endl;
    });
    ExpectSameText("other people's", [](auto& out) {
        out << Declared::s_seven << std::vector<int>{1, 2} << true;
    });
    ExpectSameText("null text", [](auto& out) {
        const char* const null = nullptr;
        out << "kept" << null << "lost";
    });
    ExpectSameText("own locale", [](auto& out) {
        out.imbue(std::locale());
        out << 1234567 << ' ' << 0.5;
    });
    std::locale::global(before);
}

}  // namespace
}  // namespace zel
