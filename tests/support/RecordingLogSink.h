#pragma once

#include "zel/core/Logger.h"
#include "zel/core/StringUtils.h"

#include <mutex>
#include <string>
#include <utility>

namespace zel::test {

// Keeps what is logged: each as a line feed and "level area text".
class RecordingLogSink : public LogSink {
public:
    void Write(const LogRecord& record) override {
        const std::lock_guard lock(m_mutex);
        m_text += '\n' + StringUtils::AsString(record.level) + ' ' + std::string(record.area) +
                  ' ' + std::string(record.text);
        m_line = record.line;
    }

    std::string TakeText() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_text, {});
    }

    // The source line of the last one.
    int GetLine() {
        const std::lock_guard lock(m_mutex);
        return m_line;
    }

private:
    std::mutex m_mutex;
    std::string m_text;
    int m_line = 0;
};

// A started logger with a recording sink, in use for a scope.
class ScopedLogger {
public:
    explicit ScopedLogger(int globalLevel = 3) : logger(new Logger), sink(new RecordingLogSink) {
        logger->SetGlobalLogLevel(globalLevel);
        logger->AddSink(sink);
        logger->Start();
        Logger::SetInstance(logger);
    }

    ~ScopedLogger() { Logger::SetInstance(nullptr); }
    ScopedLogger(const ScopedLogger&) = delete;
    ScopedLogger& operator=(const ScopedLogger&) = delete;

    const RCPtr<Logger> logger;
    const RCPtr<RecordingLogSink> sink;
};

}  // namespace zel::test
