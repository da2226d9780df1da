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

TEST(BinaryUtilsTest, PacksTheMostSignificantByteFirst) {
    std::ostringstream out;
    DataPacker packer(&out, true);
    packer.Insert(static_cast<unsigned short>(0x1234));
    packer.Insert(static_cast<unsigned char>(0x56));
    EXPECT_EQ(out.str(), "\x12\x34\x56");
}

TEST(BinaryUtilsTest, WritesAsTheStreamItselfWould) {
    std::ostringstream tied;
    std::ostringstream out;
    out.tie(&tied);
    DataPacker packer(&out, false);
    packer.Insert(static_cast<unsigned char>('a'));
    out.tie(nullptr);
    out << std::unitbuf;
    packer.Insert(static_cast<unsigned char>('b'));
    out.setstate(std::ios_base::eofbit);
    packer.Insert(static_cast<unsigned char>('c'));
    EXPECT_EQ(out.str(), "ab");

    std::ostream nowhere(nullptr);
    DataPacker(&nowhere, false).Insert(static_cast<unsigned short>(1));
    EXPECT_TRUE(nowhere.bad());
}

TEST(BinaryUtilsTest, UnpacksFromAnyAddressAndNeverPastTheEnd) {
    const char block[] = "\x00\x12\x34\xff";
    DataUnpacker unpacker(block + 1, 3, false);
    unsigned short wide = 0;
    unpacker.Extract(&wide);
    EXPECT_EQ(wide, 0x1234);
    EXPECT_THROW(unpacker.Extract(&wide), BinaryUtilsEx);
    EXPECT_EQ(wide, 0x1234);
    unsigned char narrow = 0;
    unpacker.Extract(&narrow);
    EXPECT_EQ(narrow, 0xff);
    EXPECT_THROW(unpacker.Extract(&narrow), BinaryUtilsEx);
    EXPECT_EQ(narrow, 0xff);
}

TEST(BinaryUtilsTest, VerifiesWhatIsLeft) {
    const test::ScopedLogger logger;
    const struct {
        const char* data;
        int length;
        unsigned int size;
        std::string refused;
    } rows[] = {
        {"", 0, 0, ""},
        {"", 0, 1, "1"},
        {"abc", 3, 3, ""},
        {"abc", 3, 4, "4"},
        {"abc", 3, UINT_MAX, "4294967295"},
        {"abc", INT_MIN, 0, ""},
        {"abc", INT_MIN, 1, "1"},
        {nullptr, 0, 2, "2"},
    };
    for (const auto& row : rows) {
        DataUnpacker unpacker(row.data, row.length, false);
        const std::string text = "Malformed data, can not extract " + row.refused + " bytes";
        EXPECT_EQ(test::ThrownBy([&] { unpacker.VerifySize(row.size); }),
                  row.refused.empty() ? "" : "BinaryUtilsEx: " + text);
        EXPECT_EQ(
            logger.sink->TakeText(),
            row.refused.empty() ? "" : "\n2 BinaryUtils Exception of type BinaryUtilsEx. " + text);
    }
}

TEST(BinaryUtilsTest, AllocatesNothing) {
    std::stringstream stream(std::string(100, ' '));
    const std::string data(100, ' ');
    const std::size_t before = test::CountAllocations();
    DataPacker packer(&stream, false);
    DataUnpacker unpacker(data, false);
    unsigned short value = 0;
    for (int i = 0; i < 50; ++i) {
        unpacker.Extract(&value);
        packer.Insert(value);
    }
    EXPECT_EQ(test::CountAllocations(), before);
}

}  // namespace
}  // namespace zel
