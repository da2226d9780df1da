#include "zel/persistence/ObjectPersistence.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>

namespace zel {
namespace {

using namespace ObjectPersistence;

TEST(ObjectPersistenceTest, ReadsAVersionWhateverTheOrderOfTheHost) {
    std::istringstream in(std::string("\x02\0\0\0\xfe\xff\0\0\0\0\0\x80\1\2\3", 15));
    BinaryPersistenceReader reader(&in);
    EXPECT_EQ(reader.ReadVersion(), 2);
    EXPECT_EQ(reader.ReadVersion(), 0xfffe);
    EXPECT_EQ(reader.ReadVersion(), INT_MIN);
    EXPECT_TRUE(in.good());
    EXPECT_THROW(reader.ReadVersion(), SerEx);
}

TEST(ObjectPersistenceTest, AFailureAndItsLogLineTellWhatAndWhere) {
    static_assert(std::is_base_of_v<SerEx, VersionClashEx>);
    static_assert(!std::is_base_of_v<SerEx, PersistentObjectEx>);
    const test::ScopedLogger logger;
    const auto failureOf = [&](auto fail) {
        try {
            fail();
        } catch (const Exception& exception) {
            EXPECT_EQ(logger.sink->GetLine(), exception.GetLine());
            EXPECT_EQ(exception.GetLine() == 4000, exception.GetFile() == "Motor");
            return logger.sink->TakeText() + " (" + exception.GetFile() + ')';
        }
        return logger.sink->TakeText();
    };
    std::istringstream in("123");
    const PersistentObject object;
    EXPECT_EQ(failureOf([&] { BinaryPersistenceReader(&in).ReadVersion(); }),
              "\n2 BinaryPersistenceSupport Exception of type SerEx. Read failed "
              "(BinaryPersistenceSupport)");
    EXPECT_EQ(failureOf([&] { object.VersionCheck("speed", 2, 2, "Motor"); }), "");
    EXPECT_EQ(failureOf([&] { object.VersionCheck("speed", 3, 2, "Motor"); }),
              "\n2 ObjectPersistence Exception of type VersionClashEx. Access to field speed is "
              "illegal for a version 2 Motor because this field was added in class version 3 "
              "(ObjectPersistence)");
    EXPECT_EQ(failureOf([] {
                  PersistentObject::ThrowPersistentObjectDetailsEx("Motor", 4000, "bad state");
              }),
              "\n2 ObjectPersistence Exception of type PersistentObjectEx. bad state (Motor)");
}

}  // namespace
}  // namespace zel
