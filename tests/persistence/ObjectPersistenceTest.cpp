#include "zel/persistence/ObjectPersistence.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>

namespace zel {
namespace {

using namespace ObjectPersistence;

TEST(ObjectPersistenceTest, ReadsAVersionWhateverTheOrderOfTheHost) {
    std::istringstream in(std::string("\x02\0\0\0\xfe\xff\xff\xff\0\0\0\x80\1\2\3", 15));
    BinaryPersistenceReader reader(&in);
    EXPECT_EQ(reader.ReadVersion(), 2);
    EXPECT_EQ(reader.ReadVersion(), -2);
    EXPECT_EQ(reader.ReadVersion(), INT_MIN);
    EXPECT_TRUE(in.good());

    const test::ScopedLogger logger;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(test::ThrownBy<SerEx>([&] { reader.ReadVersion(); }), "SerEx: Read failed");
        EXPECT_EQ(logger.sink->TakeText(),
                  "\n2 BinaryPersistenceSupport Exception of type SerEx. Read failed");
    }

    std::istringstream throwing("123");
    throwing.exceptions(std::ios_base::failbit);
    EXPECT_THROW(BinaryPersistenceReader(&throwing).ReadVersion(), std::ios_base::failure);
}

TEST(ObjectPersistenceTest, RefusesFieldsThatAVersionDoesNotHave) {
    const test::ScopedLogger logger;
    const PersistentObject object;
    object.VersionCheck("speed", 3, 3, "Motor");
    object.VersionCheck("speed", INT_MIN, INT_MAX, "Motor");
    EXPECT_EQ(logger.sink->TakeText(), "");
    const std::string text =
        "Access to field speed is illegal for a version 2 Motor because this field was added in "
        "class version 3";
    EXPECT_EQ(test::ThrownBy<SerEx>([&] { object.VersionCheck("speed", 3, 2, "Motor"); }),
              "VersionClashEx: " + text);
    EXPECT_EQ(logger.sink->TakeText(),
              "\n2 ObjectPersistence Exception of type VersionClashEx. " + text);
}

TEST(ObjectPersistenceTest, APersistentObjectReportsItsOwnPlace) {
    static_assert(!std::is_base_of_v<SerEx, PersistentObjectEx>);
    const test::ScopedLogger logger;
    try {
        PersistentObject::ThrowPersistentObjectDetailsEx("Motor", 40, "bad state");
    } catch (const PersistentObjectEx& exception) {
        EXPECT_EQ(exception.AsString(), "PersistentObjectEx: bad state");
        EXPECT_EQ(exception.GetFile(), "Motor");
        EXPECT_EQ(exception.GetLine(), 40);
    }
    EXPECT_EQ(logger.sink->TakeText(),
              "\n2 ObjectPersistence Exception of type PersistentObjectEx. bad state");
}

}  // namespace
}  // namespace zel
