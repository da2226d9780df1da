#include "zel/core/Logger.h"

#include "tests/support/RecordingLogSink.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

namespace zel {
namespace {

const LoggingRegisterHelper s_ownLevel("some/where/LoggerTestOwn", 3, nullptr);
const LoggingRegisterHelper s_global("LoggerTestGlobal", -1, nullptr);

TEST(LoggerTest, EnablesALevelByTheAreaOrTheGlobalLevel) {
    const test::ScopedLogger log(2);
    const RCPtr<Logger> other(new Logger);
    other->Start();
    // A change, and then the highest level enabled in the two areas and by ShouldLog.
    const std::tuple<std::function<void()>, int, int, int> rows[] = {
        {[] {}, 3, 2, 2},
        {[&] { log.logger->SetGlobalLogLevel(5); }, 3, 5, 5},
        {[&] { log.logger->SetAreaLevel("any/LoggerTestOwn", 4); }, 4, 5, 5},
        {[&] { log.logger->SetAreaLevel("LoggerTestOwn", -1); }, 5, 5, 5},
        {[&] { log.logger->SetAreaLevel("LoggerTestGlobal", 1); }, 5, 1, 5},
        {[&] { log.logger->Stop(); }, -1, -1, -1},
        {[&] { log.logger->Start(); }, 5, 1, 5},
        {[&] { Logger::SetInstance(other); }, 3, 3, 3},
        {[] { Logger::SetInstance(nullptr); }, -1, -1, -1},
    };
    for (const auto& [change, ownLevel, global, shouldLog] : rows) {
        SCOPED_TRACE(testing::Message() << ownLevel << ' ' << global << ' ' << shouldLog);
        change();
        for (int level = 1; level <= 6; ++level) {
            EXPECT_EQ(s_ownLevel.IsEnabled(level), level <= ownLevel) << level;
            EXPECT_EQ(s_global.IsEnabled(level), level <= global) << level;
            EXPECT_EQ(Logger::ShouldLog(level), level <= shouldLog) << level;
        }
    }
    s_ownLevel.Write(1, 1, "no logger");
    log.logger->Stop();
    log.logger->AppendData(1, "Any", 1, "text", 4);
    EXPECT_EQ(log.sink->TakeText(), "");
}

TEST(LoggerTest, NamesTheAreaOfASourceFile) {
    const std::tuple<const char*, const char*, int> rows[] = {
        {"LoggerTestOwn", "LoggerTestOwn", 3},
        {"/a/b/LoggerTestOwn.cpp", "LoggerTestOwn", 3},
        {"x/Unregistered.cpp", "Unregistered.cpp", -1},
    };
    for (const auto& [file, area, ownLevel] : rows) {
        std::string name;
        int level = 0;
        Logger::GetAreaNameAndLevel(file, name, level);
        EXPECT_EQ(name, area);
        EXPECT_EQ(level, ownLevel) << file;
        EXPECT_EQ(Logger::GetLevelFromFileName(file), ownLevel) << file;
    }
}

struct HostileSink : LogSink {
    void Write(const LogRecord&) override {
        s_ownLevel.Write(1, 1, "from inside a sink");
        throw std::runtime_error("sink");
    }
};

TEST(LoggerTest, DiscardsWhatASinkLogsAndThrows) {
    const test::ScopedLogger log;
    const RCPtr<LogSink> hostile(new HostileSink);
    log.logger->AddSink(hostile);
    log.logger->AddSink(log.sink);
    s_ownLevel.Write(2, 1, std::string_view("a\0b", 3));
    const std::string line("\n2 LoggerTestOwn a\0b", 20);
    EXPECT_EQ(log.sink->TakeText(), line + line);
    log.logger->RemoveSink(log.sink.Get());
    s_ownLevel.Write(2, 1, "again");
    EXPECT_EQ(log.sink->TakeText(), "");
}

TEST(LoggerTest, ChangesSinksAndLoggersWhileAnotherThreadLogs) {
    const test::ScopedLogger log;
    const std::jthread writer([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            s_ownLevel.Write(1, 1, "text");
        }
    });
    for (int round = 0; round < 200; ++round) {
        RCPtr<LogSink> sink(new test::RecordingLogSink);
        log.logger->AddSink(sink);
        Logger::SetInstance(round % 2 == 0 ? nullptr : log.logger);
        log.logger->RemoveSink(sink.Get());
    }
}

TEST(LoggerTest, StartsOnStandardErrorWithOneCall) {
    testing::internal::CaptureStderr();
    const RCPtr<Logger> logger = Logger::StartOnStandardError(2);
    s_global.Write(2, "src/Motor.cpp", 7, "text");
    s_global.Write(3, 8, "more");
    EXPECT_EQ(Logger::GetInstance(), logger);
    Logger::SetInstance(nullptr);
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("Z 2 LoggerTestGlobal Motor.cpp:7 ["), std::string::npos) << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
}

// The contents of the files, each followed by a bar.
std::string ReadLogs(const std::string& path, const std::vector<std::string>& suffixes) {
    std::string all;
    for (const std::string& suffix : suffixes) {
        std::ifstream in(path + suffix);
        all.append(std::istreambuf_iterator<char>(in), {}) += '|';
    }
    return all;
}

TEST(FileLogSinkTest, StartsANewFileIfTheOldOneWasRenamed) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "log";
    const LogRecord record{2, "Area", 7, "te\nx\x7Ft", {}, 42};
    const RCPtr<FileLogSink> sink(new FileLogSink(path));
    sink->Write(record);
    std::filesystem::rename(path, path + ".1");
    sink->Write(record);
    sink->Write(record);
    const std::string line = "1970-01-01T00:00:00.000000Z 2 Area:7 [42] te\\nx\\x7ft\n";
    EXPECT_EQ(ReadLogs(path, {".1", ""}), line + "|" + line + line + "|");
    EXPECT_THROW(FileLogSink(folder / "none/log"), Exception);
}

TEST(RotatingFileLogSinkTest, StartsANewFileBeforeALimitIsExceeded) {
    const LogRecord record{2, "Area", 7, "text", {}, 42};
    const std::string line = FormatLogRecord(record) + '\n';
    // The limit in lines, the number of old files, the records written, and what remains of them.
    const std::tuple<double, unsigned, int, std::string> rows[] = {
        {2, 2, 2, line + line + "||||"},
        {2, 2, 7, line + "|" + line + line + "|" + line + line + "||"},
        {1.9, 2, 2, line + "|" + line + "|||"},
        {0.5, 1, 3, line + "|" + line + "|||"},
        {1, 0, 3, line + "||||"},
    };
    for (const auto& [limit, oldFiles, records, expected] : rows) {
        const test::TemporaryFolder folder;
        const std::string path = folder / "log";
        const auto maxBytes = static_cast<std::uint64_t>(limit * static_cast<double>(line.size()));
        for (int i = 0; i < records; ++i) {
            RCPtr<LogSink>(new RotatingFileLogSink(path, maxBytes, oldFiles))->Write(record);
        }
        EXPECT_EQ(ReadLogs(path, {"", ".1", ".2", ".3"}), expected)
            << limit << ' ' << oldFiles << ' ' << records;
    }
}

TEST(RotatingFileLogSinkTest, KeepsAllRecordsWhileAFileCantBeRenamed) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "log";
    // Directories that can't be replaced, in the place of old files.
    std::filesystem::create_directories(path + ".1/full");
    std::filesystem::create_directories(path + ".2/full");
    const LogRecord record{2, "Area", 7, "text", {}, 42};
    const std::string line = FormatLogRecord(record) + '\n';
    const RCPtr<LogSink> sink(new RotatingFileLogSink(path, 1, 2));
    sink->Write(record);
    sink->Write(record);
    EXPECT_EQ(ReadLogs(path, {""}), line + line + "|");
}

}  // namespace
}  // namespace zel
