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

// Writes the same to a standard stream, a MemOS and a MemOS used as std::ostream.
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

// A member without a definition, and an operator declared in this file only.
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
    ExpectSameText("default flags", [](auto& out) {
        char array[] = "array";
        const std::string string("str\0ing", 7);
        out << 'c' << "literal" << array << string << std::string_view(string).substr(2)
            << static_cast<unsigned char>('u') << static_cast<signed char>('s') << true << short(-3)
            << 123456 << 1234567890123LL << std::numeric_limits<unsigned long long>::max()
            << std::numeric_limits<long>::min() << static_cast<void*>(nullptr)
            << std::numeric_limits<double>::infinity() << -std::numeric_limits<float>::quiet_NaN();
        for (const double value : {0.0, -0.0, 0.1, 1.0 / 3, 1e6, 1234567.0, 1e-5, 1e300, 5e-324}) {
            out << value << ' ' << static_cast<float>(value) << ' ';
        }
    });
    ExpectSameText("flags", [](auto& out) {
        out << std::hex << 255 << std::showbase << 255 << std::dec << std::setw(7) << "right"
            << std::setw(6) << std::setfill('*') << std::left << 12 << std::boolalpha << true
            << std::setprecision(3) << 3.14159 << std::fixed << 2.0 << std::endl;
    });
    ExpectSameText("user-defined operators and a null text", [](auto& out) {
        const char* const null = nullptr;
        out << Declared::s_seven << std::vector<int>{1, 2};
        out << null << "lost";
    });
    ExpectSameText("own locale", [](auto& out) {
        out.imbue(std::locale());
        out << 1234567 << ' ' << 0.5;
    });
    std::locale::global(before);
}

}  // namespace
}  // namespace zel
