#include "zel/foundation/MemOS.h"

#include "tests/support/AllocationWatch.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <vector>

namespace zel {
namespace {

TEST(MemOSTest, Stores512CharactersWithoutAHeapAllocation) {
    const std::string part(500, 'x');
    const std::size_t before = test::CountAllocations();
    MemOS text;
    EXPECT_STREQ(text.GetData(), "");
    text << part << 1 << ' ' << 2.5 << ' ' << -777L << "ab";
    EXPECT_EQ(test::CountAllocations(), before);
    EXPECT_EQ(text.GetLength(), 512);
    EXPECT_EQ(text.GetData()[512], '\0');
    text << 'c';
    EXPECT_EQ(text.ToString(), part + "1 2.5 -777abc");
}

// Compares with a standard stream in a random sequence of writes and reads.
TEST(MemOSTest, WritesAndReadsLikeAStandardStream) {
    std::mt19937 random(2);
    MemOS text;
    std::stringstream model;
    for (int i = 0; i < 3000; ++i) {
        const std::string piece(random() % 9, static_cast<char>(random()));
        text << piece << i << std::string_view("\0 ", 2);
        model << piece << i << std::string_view("\0 ", 2);
        ASSERT_EQ(text.GetText(), model.str());
        ASSERT_EQ(text.GetData()[text.GetLength()], '\0');
        for (auto reads = random() % 20; reads > 0; --reads) {
            ASSERT_EQ(text.get(), model.get());
            ASSERT_EQ(text.rdstate(), model.rdstate());
        }
        text.clear();
        model.clear();
    }
    EXPECT_EQ(text.tellp(), std::streampos(-1));
}

// A member without a definition, and an operator declared in this file only.
struct Declared {
    static const int s_seven = 7;
};

std::ostream& operator<<(std::ostream& out, const std::vector<int>& numbers) {
    return out << numbers.size() << " numbers";
}

struct CommaForPoint : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

template <class Stream>
void WriteAllKinds(Stream& out) {
    char array[] = "array";
    const std::string string("str\0ing", 7);
    out << 'c' << "literal" << array << string << std::string_view(string).substr(2)
        << static_cast<unsigned char>('u') << static_cast<signed char>('s') << true << short(-3)
        << 123456 << 1234567890123LL << std::numeric_limits<unsigned long long>::max()
        << std::numeric_limits<long>::min() << static_cast<void*>(nullptr)
        << std::numeric_limits<double>::infinity() << std::numeric_limits<float>::quiet_NaN();
    for (const double value : {0.0, -0.0, 0.1, 1.0 / 3, 1e6, 1234567.0, 1e-5, 1e300, 5e-324}) {
        out << value << ' ' << static_cast<float>(value) << ' ';
    }
    out << Declared::s_seven << std::vector<int>{1, 2};
    const std::locale classic = out.imbue(std::locale());
    out << "own locale " << 1234567 << ' ' << 0.5;
    out.imbue(classic);
    out << std::setw(7) << "right" << std::setprecision(3) << 3.14159 << std::hex << 255
        << std::showbase << 255 << std::dec << std::setw(6) << std::setfill('*') << std::left << 12
        << std::boolalpha << true << std::fixed << 2.0 << std::endl;
    out.flags(std::ios::skipws | std::ios::dec);
    out << static_cast<const char*>(nullptr) << "lost";
}

TEST(MemOSTest, WritesWhatAStandardStreamWrites) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CommaForPoint));
    std::ostringstream standard;
    standard.imbue(std::locale::classic());
    WriteAllKinds(standard);
    MemOS own;
    WriteAllKinds(own);
    MemOS asStream;
    WriteAllKinds<std::ostream>(asStream);
    std::locale::global(before);
    EXPECT_EQ(own.ToString(), standard.str());
    EXPECT_EQ(asStream.ToString(), standard.str());
    EXPECT_EQ(own.rdstate(), standard.rdstate());
}

}  // namespace
}  // namespace zel
