#include "zel/foundation/Log.h"

#include "tests/support/RecordingLogSink.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

const LogArea s_log("LogTest", 3);

class LogTestEx : public Exception {
public:
    LogTestEx(const std::string& message, const std::string& file, int line)
        : Exception("LogTestEx", message, file, line) {}
};

struct Streamed {
    int* times;
    friend std::ostream& operator<<(std::ostream& out, const Streamed& value) {
        ++*value.times;
        return out << "streamed";
    }
};

TEST(LogTest, BuildsAMessageOnlyForAReader) {
    const test::ScopedLogger log;
    int times = 0;
    Log(s_log, 4, "nobody reads ", Streamed{&times});
    EXPECT_EQ(times, 0);
    Log(s_log, 3, "at ", 7, ' ', 0.5, ' ', Streamed{&times});
    EXPECT_EQ(times, 1);
    EXPECT_FALSE(Fail<LogTestEx>(s_log, false, "refused ", 1));
    EXPECT_EQ(log.sink->TakeText(), "\n3 LogTest at 7 0.5 streamed\n3 LogTest refused 1");
    EXPECT_THROW(Fail<LogTestEx>(s_log, true, "refused ", 2), LogTestEx);
}

TEST(LogTest, ThrowLogsTheExceptionThatItRaises) {
    const test::ScopedLogger log;
    const int line = __LINE__ + 2;
    try {
        Throw<LogTestEx>(s_log, "no ", std::string("room\0!", 6));
    } catch (const LogTestEx& exception) {
        EXPECT_EQ(exception.AsStringEx(),
                  std::string("LogTestEx: no room\0! (LogTest:", 30) + std::to_string(line) + ')');
        EXPECT_STREQ(exception.what(), "no room");
    }
    EXPECT_EQ(log.sink->TakeText(),
              std::string("\n2 LogTest Exception of type LogTestEx. no room\0!", 49));
}

TEST(ExceptionTest, TellsItsInfoBehindThePlace) {
    const Exception informed("SomeEx", "message", "File", 12, "line 7, column 3");
    EXPECT_EQ(Exception(informed).AsStringEx(), "SomeEx: message (File:12, line 7, column 3)");
}

}  // namespace
}  // namespace zel
