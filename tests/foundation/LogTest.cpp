#include "zel/foundation/Log.h"

#include "zel/core/StringUtils.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/Thrown.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace zel {
namespace {

const LogArea s_log("LogTest", 3);

struct LogTestEx : Exception {
    LogTestEx(const std::string& message, const std::string& file, int line)
        : Exception("LogTestEx", message, file, line, "line 7, column 3") {}
};

struct Streamed {
    int* times;
    friend std::ostream& operator<<(std::ostream& out, const Streamed& value) {
        ++*value.times;
        return out << "streamed";
    }
};

TEST(LogTest, FormatsAMessageOnlyIfItIsWritten) {
    const test::ScopedLogger log;
    int times = 0;
    Log(s_log, 4, "disabled ", Streamed{&times});
    Log(s_log, 3, "at ", 7, ' ', 0.5, ' ', Streamed{&times});
    EXPECT_EQ(times, 1);
    EXPECT_FALSE(Fail<LogTestEx>(s_log, false, "refused ", 1));
    EXPECT_EQ(log.sink->TakeText(), "\n3 LogTest at 7 0.5 streamed\n3 LogTest refused 1");
}

TEST(LogTest, LogsWhatItThrows) {
    const test::ScopedLogger log;
    const std::string text("no\0!", 4);
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { Throw<LogTestEx>(s_log, "no", text.substr(2)); }, "LogTestEx"},
        {[&] { Throw<Exception>(s_log, text); }, "Exception"},
        {[&] { Fail<LogTestEx>(s_log, true, text); }, "LogTestEx"},
    };
    for (const auto& [call, type] : rows) {
        try {
            call();
            ADD_FAILURE() << type << " isn't thrown";
        } catch (const Exception& exception) {
            EXPECT_STREQ(exception.what(), "no");
            const std::string info = type == "LogTestEx" ? ", line 7, column 3" : "";
            EXPECT_EQ(exception.AsStringEx(),
                      type + ": " + text + " (" + log.sink->GetPlace() + info + ')');
        }
        EXPECT_EQ(log.sink->TakeText(), "\n2 LogTest Exception of type " + type + ". " + text);
    }
    EXPECT_EQ(test::ThrownBy([&] { StringUtils::ThrowEx(text); }), "StringUtilsEx: " + text);
    EXPECT_EQ(log.sink->TakeText(), "\n2 StringUtils Exception of type StringUtilsEx. " + text);
    EXPECT_EQ(log.sink->GetPlace().substr(0, 20), "../core/StringUtils:");
    EXPECT_EQ(test::ThrownBy([] { StringUtils::ThrowEx(nullptr); }), "StringUtilsEx: ");
    EXPECT_EQ(Exception("SomeEx", nullptr, "Some", 1).AsString(), "SomeEx: ");
}

}  // namespace
}  // namespace zel
