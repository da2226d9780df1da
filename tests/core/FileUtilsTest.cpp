#include "zel/core/FileUtils.h"

#include "zel/core/StreamScanner.h"

#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace zel {
namespace {

// Yields its bytes in blocks, or one by one without a get area if the block size is 0. Throws at
// the end if the text ends with "!".
struct SlowBuffer : std::streambuf {
    SlowBuffer(std::string text, std::size_t block) : m_text(std::move(text)), m_block(block) {}

    int_type underflow() override {
        if (m_next == m_text.size()) {
            return m_text.ends_with('!') ? throw std::runtime_error("broken") : traits_type::eof();
        }
        char* const begin = &m_text[m_next];
        const std::size_t count = std::min(m_block, m_text.size() - m_next);
        setg(begin, begin, begin + count);
        m_next += count;
        return traits_type::to_int_type(*begin);
    }

    int_type uflow() override {
        const int_type next = m_block == 0 ? underflow() : std::streambuf::uflow();
        m_next += m_block == 0 && next != traits_type::eof() ? 1 : 0;
        return next;
    }

    std::string m_text;
    std::size_t m_next = 0;
    const std::size_t m_block;
};

TEST(FileUtilsTest, LeavesTheStreamAtTheFirstByteNotConsumed) {
    const std::string lines("one\n\ntw\rthree\na\0b\nlast", 22);
    for (const std::size_t block : {0U, 1U, 4U, 100U}) {
        for (const bool keepsLineFeed : {false, true}) {
            SCOPED_TRACE(block);
            SlowBuffer buffer(" \t\v\nab\n 123456\n123456" + lines, block);
            std::istream in(&buffer);
            {
                StreamScanner scanner(in);
                scanner.SkipWhite();
                EXPECT_EQ(scanner.GetPosition().line, 2U);
                EXPECT_EQ(scanner.Get(), 'a');
                EXPECT_EQ(scanner.GetPositionOfLast().column, 1U);
                EXPECT_EQ(scanner.Get(), 'b');
                EXPECT_EQ(scanner.Peek(), '\n');
            }
            FileUtils::EatWhite(in);
            EXPECT_TRUE(in.good());
            char line[10];
            EXPECT_TRUE(FileUtils::ReadLine(in, line, 7));
            EXPECT_EQ(test::ThrownBy([&] { FileUtils::ReadLine(in, line, 7); }),
                      "Exception: Line is longer than the 6 characters that the buffer holds");
            EXPECT_STREQ(line, "123456");
            EXPECT_THROW(FileUtils::ReadLine(in, nullptr, 0), Exception);
            std::size_t length = 0;
            std::string read;
            while (FileUtils::ReadLine(in, line, sizeof line, &length, keepsLineFeed)) {
                read += std::string(line, length) + (keepsLineFeed ? "" : "\n");
            }
            EXPECT_EQ(read, lines + (keepsLineFeed ? "" : "\n"));
            EXPECT_EQ(in.rdstate(), std::ios::eofbit | std::ios::failbit);
        }
    }
}

TEST(StreamScannerTest, SetsBadbitIfTheBufferThrows) {
    SlowBuffer buffer("!", 1);
    std::istream in(&buffer);
    EXPECT_EQ(StreamScanner(in).Get(), '!');
    EXPECT_EQ(StreamScanner(in).Peek(), StreamScanner::End);
    EXPECT_TRUE(in.bad());
    EXPECT_EQ(StreamScanner(in).Get(), StreamScanner::End);
    in.clear();
    in.exceptions(std::ios_base::badbit);
    EXPECT_THROW(StreamScanner(in).Peek(), std::runtime_error);
}

}  // namespace
}  // namespace zel
