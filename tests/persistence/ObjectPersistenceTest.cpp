#include "zel/persistence/ObjectPersistence.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <sstream>
#include <tuple>

namespace zel {
namespace {

using namespace ObjectPersistence;

static_assert(std::is_base_of_v<SerEx, VersionClashEx>);
static_assert(!std::is_base_of_v<SerEx, PersistentObjectEx>);

TEST(ObjectPersistenceTest, ReadsAVersionLeastSignificantByteFirst) {
    std::istringstream in(std::string("\x02\0\0\0\xfe\xff\0\0\0\0\0\x80\1\2\3", 15));
    BinaryPersistenceReader reader(&in);
    EXPECT_EQ(reader.ReadVersion(), 2);
    EXPECT_EQ(reader.ReadVersion(), 0xfffe);
    EXPECT_EQ(reader.ReadVersion(), INT_MIN);
    EXPECT_TRUE(in.good());
    EXPECT_THROW(reader.ReadVersion(), SerEx);
}

TEST(ObjectPersistenceTest, LogsAndThrowsWithFileAndLine) {
    std::istringstream in("123");
    const std::tuple<std::function<void()>, const char*, const char*> rows[] = {
        {[&] { BinaryPersistenceReader(&in).ReadVersion(); }, "BinaryPersistenceSupport",
         "\n2 BinaryPersistenceSupport Exception of type SerEx. Read failed"},
        {[] { PersistentObject().VersionCheck("speed", 3, 2, "Motor"); }, "ObjectPersistence",
         "\n2 ObjectPersistence Exception of type VersionClashEx. Access to field speed is illegal "
         "for a version 2 Motor because this field was added in class version 3"},
        {[] { PersistentObject::ThrowPersistentObjectDetailsEx("Motor", 4000, "bad state"); },
         "Motor", "\n2 ObjectPersistence Exception of type PersistentObjectEx. bad state"},
        {[] { ThrowEx(nullptr); }, "BinaryPersistenceSupport",
         "\n2 BinaryPersistenceSupport Exception of type SerEx. "},
        {[] { PersistentObject().VersionCheck(nullptr, 3, 2, nullptr); }, "ObjectPersistence",
         "\n2 ObjectPersistence Exception of type VersionClashEx. Access to field  is illegal for "
         "a version 2  because this field was added in class version 3"},
        {[] { PersistentObject::ThrowPersistentObjectDetailsEx(nullptr, 5, nullptr); }, "",
         "\n2 ObjectPersistence Exception of type PersistentObjectEx. "},
    };
    const test::ScopedLogger logger;
    for (const auto& [call, file, text] : rows) {
        try {
            call();
            ADD_FAILURE() << text;
        } catch (const Exception& exception) {
            EXPECT_EQ(exception.GetFile(), file) << text;
            EXPECT_EQ(logger.sink->GetFile(), file) << text;
            EXPECT_EQ(exception.GetLine(), logger.sink->GetLine()) << text;
            EXPECT_EQ(exception.GetLine() == 4000, exception.GetFile() == "Motor") << text;
        }
        EXPECT_EQ(logger.sink->TakeText(), text);
    }
    EXPECT_NO_THROW(PersistentObject().VersionCheck("speed", 2, 2, "Motor"));
}

}  // namespace
}  // namespace zel
