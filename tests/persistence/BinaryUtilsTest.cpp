#include "zel/persistence/BinaryUtils.h"

#include "tests/support/AllocationWatch.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <type_traits>

namespace zel {
namespace {

using BinaryUtils::DataPacker;
using BinaryUtils::DataUnpacker;

static_assert(!std::is_constructible_v<DataUnpacker, std::string, bool>);
static_assert(!std::is_constructible_v<DataUnpacker, const char*, bool>);

TEST(BinaryUtilsTest, PutsTheMostSignificantByteFirstWithoutAnyAllocation) {
    std::stringstream out("   ");
    const std::string data = "\x56\xfe\xdc\xff";
    const std::size_t before = test::CountAllocations();
    DataPacker packer(&out, true);
    packer.Insert(static_cast<unsigned short>(0x1234));
    packer.Insert(static_cast<unsigned char>(0x56));
    DataUnpacker unpacker(data, true);
    unsigned char narrow = 0;
    unsigned short wide = 0;
    unpacker.Extract(&narrow);
    unpacker.Extract(&wide);
    EXPECT_EQ(test::CountAllocations(), before);
    EXPECT_EQ(out.str(), "\x12\x34\x56");
    EXPECT_EQ(narrow, 0x56);
    EXPECT_THROW(unpacker.Extract(&wide), BinaryUtilsEx);
    EXPECT_EQ(wide, 0xfedc);
    unpacker.Extract(&narrow);
    EXPECT_THROW(unpacker.Extract(&narrow), BinaryUtilsEx);
    EXPECT_EQ(narrow, 0xff);
}

TEST(BinaryUtilsTest, WritesAndFlushesAsTheStreamItselfWould) {
    struct Buffer : std::stringbuf {
        int sync() override { return sputc('!') == '!' ? 0 : -1; }
    } buffer;
    std::ostream tied(&buffer);
    std::ostream out(&buffer);
    DataPacker packer(&out, false);
    packer.Insert(static_cast<unsigned char>('a'));
    out.tie(&tied);
    packer.Insert(static_cast<unsigned char>('b'));
    out.tie(nullptr);
    out << std::unitbuf;
    packer.Insert(static_cast<unsigned short>(0x6364));
    out << std::nounitbuf;
    out.setstate(std::ios_base::eofbit);
    packer.Insert(static_cast<unsigned char>('e'));
    EXPECT_EQ(buffer.str(), "a!bcd!");
}

TEST(BinaryUtilsTest, RefusesMoreThanIsLeft) {
    const test::ScopedLogger logger;
    const auto verify = [](int length, unsigned int size) {
        return test::ThrownBy([=] { DataUnpacker("abc", length, false).VerifySize(size); });
    };
    const std::string text = "Malformed data, can not extract ";
    EXPECT_EQ(verify(0, 0) + verify(3, 3), "");
    EXPECT_EQ(verify(3, 4), "BinaryUtilsEx: " + text + "4 bytes");
    EXPECT_EQ(logger.sink->TakeText(),
              "\n2 BinaryUtils Exception of type BinaryUtilsEx. " + text + "4 bytes");
    EXPECT_EQ(verify(3, UINT_MAX), "BinaryUtilsEx: " + text + "4294967295 bytes");
    EXPECT_EQ(verify(INT_MIN, 1), "BinaryUtilsEx: " + text + "1 bytes");
}

}  // namespace
}  // namespace zel
