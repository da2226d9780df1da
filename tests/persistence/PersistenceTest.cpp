#include "zel/persistence/BinaryUtils.h"
#include "zel/persistence/ObjectPersistence.h"

#include "tests/support/AllocationWatch.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <tuple>
#include <type_traits>

namespace zel {
namespace {

using namespace ObjectPersistence;
using BinaryUtils::DataPacker;
using BinaryUtils::DataUnpacker;

constexpr unsigned short WIDE = 0x6162;
constexpr unsigned char NARROW = 0x63;

static_assert(std::is_base_of_v<SerEx, VersionClashEx>);
static_assert(!std::is_base_of_v<SerEx, PersistentObjectEx>);
static_assert(!std::is_constructible_v<DataUnpacker, std::string, bool>);
static_assert(!std::is_constructible_v<DataUnpacker, const char*, bool>);

TEST(BinaryUtilsTest, StoresTheMostSignificantByteFirstWithoutAllocation) {
    std::stringstream out(std::string(21, ' '));
    const std::string data = "\x56\xfe\xdc\xff";
    const std::size_t before = test::CountAllocations();
    DataPacker packer(&out, true);
    packer.Insert(WIDE);
    packer.Insert(NARROW);
    packer.Insert(std::uint32_t{0x64656667});
    packer.Insert(std::uint64_t{0x6869'6a6b'6c6d'6e6f});
    packer.Insert("pq");
    DataUnpacker unpacker(data, true);
    unsigned char narrow = 0;
    unsigned short wide = 0;
    unpacker.Extract(&narrow);
    unpacker.Extract(&wide);
    EXPECT_EQ(test::CountAllocations(), before);
    EXPECT_EQ(out.str(), std::string("abcdefghijklmno\0\0\0\2pq", 21));
    EXPECT_EQ(narrow, 0x56);
    EXPECT_THROW(unpacker.Extract(&wide), BinaryUtilsEx);
    EXPECT_EQ(wide, 0xfedc);
    unpacker.Extract(&narrow);
    EXPECT_THROW(unpacker.Extract(&narrow), BinaryUtilsEx);
    EXPECT_EQ(narrow, 0xff);
}

TEST(BinaryUtilsTest, ExtractsWideNumbersAndStringsOrNothing) {
    const std::string data("\0\0\0\3\xff\0x\0\0\0\2y", 12);
    DataUnpacker unpacker(data, false);
    std::uint64_t wide = 7;
    std::string text = "kept";
    EXPECT_THROW(DataUnpacker(data.data(), 6, false).Extract(&text), BinaryUtilsEx);
    EXPECT_EQ(text, "kept");
    unpacker.Extract(&text);
    EXPECT_EQ(text, std::string("\xff\0x", 3));
    EXPECT_THROW(unpacker.Extract(&text), BinaryUtilsEx);
    EXPECT_THROW(unpacker.Extract(&wide), BinaryUtilsEx);
    EXPECT_EQ(text.size() + wide, 10U);
    std::uint32_t length = 0;
    unpacker.Extract(&length);
    EXPECT_EQ(length, 2U);
    DataUnpacker(data.data() + 1, 8, false).Extract(&wide);
    EXPECT_EQ(wide, 0x3ff'0078'0000U);
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

TEST(ObjectPersistenceTest, WritesAndReadsAVersionLeastSignificantByteFirst) {
    std::istringstream in(std::string("\xfe\xff\0\0\0\0\0\x80", 8));
    BinaryPersistenceReader reader(&in);
    EXPECT_EQ(reader.ReadVersion(), 0xfffe);
    EXPECT_EQ(reader.ReadVersion(), INT_MIN);
    std::ostringstream out;
    WriteVersion(out, 0xfffe);
    WriteVersion(out, INT_MIN);
    EXPECT_EQ(out.str(), in.str());
}

TEST(PersistenceTest, LogsAndThrowsWithFileAndLine) {
    std::istringstream in("123");
    // A call that throws, the file of the exception, and the area and text of the log line.
    const std::tuple<std::function<void()>, std::string, std::string, std::string> rows[] = {
        {[] { DataUnpacker("abc", 3, false).VerifySize(UINT_MAX); }, "BinaryUtils", "BinaryUtils",
         "BinaryUtilsEx. Malformed data, can not extract 4294967295 bytes"},
        {[&] { BinaryPersistenceReader(&in).ReadVersion(); }, "BinaryPersistenceSupport",
         "BinaryPersistenceSupport", "SerEx. Read failed"},
        {[] { WriteVersion(*std::make_unique<std::ostream>(nullptr), 1); },
         "BinaryPersistenceSupport", "BinaryPersistenceSupport", "SerEx. Write failed"},
        {[] { ThrowEx(nullptr); }, "BinaryPersistenceSupport", "BinaryPersistenceSupport",
         "SerEx. "},
        {[] { PersistentObject().VersionCheck("speed", 3, 2, "Motor"); }, "ObjectPersistence",
         "ObjectPersistence",
         "VersionClashEx. Access to field speed is illegal for a version 2 Motor because this "
         "field was added in class version 3"},
        {[] { PersistentObject().VersionCheck(nullptr, 3, 2, nullptr); }, "ObjectPersistence",
         "ObjectPersistence",
         "VersionClashEx. Access to field  is illegal for a version 2  because this field was "
         "added in class version 3"},
        {[] { PersistentObject::ThrowPersistentObjectDetailsEx("Motor", 4000, "bad state"); },
         "Motor", "ObjectPersistence", "PersistentObjectEx. bad state"},
        {[] { PersistentObject::ThrowPersistentObjectDetailsEx(nullptr, 5, nullptr); }, "",
         "ObjectPersistence", "PersistentObjectEx. "},
    };
    const test::ScopedLogger logger;
    for (const auto& [call, file, area, text] : rows) {
        try {
            call();
            ADD_FAILURE() << text;
        } catch (const Exception& exception) {
            EXPECT_EQ(exception.GetFile(), file) << text;
            EXPECT_EQ(logger.sink->GetPlace(), file + ':' + std::to_string(exception.GetLine()))
                << text;
            EXPECT_EQ(exception.GetLine() == 4000, file == "Motor") << text;
        }
        EXPECT_EQ(logger.sink->TakeText(), "\n2 " + area + " Exception of type " + text);
    }
    EXPECT_THROW(DataUnpacker("abc", -1, false).VerifySize(1), BinaryUtilsEx);
    EXPECT_NO_THROW(DataUnpacker("abc", 3, false).VerifySize(3));
    EXPECT_NO_THROW(PersistentObject().VersionCheck("speed", 2, 2, "Motor"));
}

}  // namespace
}  // namespace zel
