#include "zel/persistence/BinaryUtils.h"

#include "tests/support/AllocationWatch.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <sstream>
#include <tuple>
#include <type_traits>

namespace zel {
namespace {

using BinaryUtils::DataPacker;
using BinaryUtils::DataUnpacker;

constexpr unsigned short WIDE = 0x6162;
constexpr unsigned char NARROW = 0x63;

static_assert(!std::is_constructible_v<DataUnpacker, std::string, bool>);
static_assert(!std::is_constructible_v<DataUnpacker, const char*, bool>);

TEST(BinaryUtilsTest, StoresTheMostSignificantByteFirstWithoutAllocation) {
    std::stringstream out("   ");
    const std::string data = "\x56\xfe\xdc\xff";
    const std::size_t before = test::CountAllocations();
    DataPacker packer(&out, true);
    packer.Insert(WIDE);
    packer.Insert(NARROW);
    DataUnpacker unpacker(data, true);
    unsigned char narrow = 0;
    unsigned short wide = 0;
    unpacker.Extract(&narrow);
    unpacker.Extract(&wide);
    EXPECT_EQ(test::CountAllocations(), before);
    EXPECT_EQ(out.str(), "abc");
    EXPECT_EQ(narrow, 0x56);
    EXPECT_THROW(unpacker.Extract(&wide), BinaryUtilsEx);
    EXPECT_EQ(wide, 0xfedc);
    unpacker.Extract(&narrow);
    EXPECT_THROW(unpacker.Extract(&narrow), BinaryUtilsEx);
    EXPECT_EQ(narrow, 0xff);
}

TEST(BinaryUtilsTest, WritesAndFlushesLikeTheStream) {
    struct Buffer : std::stringbuf {
        int sync() override { return sputc('!') == '!' ? 0 : -1; }
        std::streamsize xsputn(const char* text, std::streamsize size) override {
            sputc('<');
            return std::stringbuf::xsputn(text, size);
        }
    } buffer;
    std::ostream tied(&buffer);
    std::stringstream out("   ");
    DataPacker packer(&out, false);
    packer.Insert(NARROW);
    out.std::ios::rdbuf(&buffer);
    packer.Insert(WIDE);
    EXPECT_EQ(buffer.str(), "<ab");
    out.std::ios::rdbuf(out.rdbuf());
    out.tie(&tied);
    packer.Insert(NARROW);
    out.tie(nullptr);
    EXPECT_EQ(buffer.str(), "<ab!");
    out.setstate(std::ios_base::eofbit);
    packer.Insert(WIDE);
    EXPECT_EQ(out.str(), "cc ");

    const test::TemporaryFolder folder;
    std::ofstream file(folder / "file");
    file << std::unitbuf;
    DataPacker(&file, false).Insert(WIDE);
    DataPacker(&file, false).Insert(NARROW);
    EXPECT_EQ(std::filesystem::file_size(folder / "file"), 3U);
}

TEST(BinaryUtilsTest, RefusesMoreBytesThanAreLeft) {
    const test::ScopedLogger logger;
    const std::tuple<int, unsigned int, const char*> rows[] = {
        {0, 0, nullptr}, {3, 3, nullptr}, {3, 4, "4"}, {3, UINT_MAX, "4294967295"}, {-1, 1, "1"}};
    for (const auto& [length, size, refused] : rows) {
        test::ThrownBy([&] { DataUnpacker("abc", length, false).VerifySize(size); });
        const std::string text =
            "\n2 BinaryUtils Exception of type BinaryUtilsEx. Malformed data, ";
        EXPECT_EQ(logger.sink->TakeText(),
                  refused ? text + "can not extract " + refused + " bytes" : "");
    }
}

}  // namespace
}  // namespace zel
