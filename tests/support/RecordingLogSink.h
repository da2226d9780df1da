#pragma once

#include "zel/core/Logger.h"
#include "zel/core/StringUtils.h"

#include <mutex>
#include <string>
#include <utility>

namespace zel::test {

// Records each log line as a line feed and "level area text".
class RecordingLogSink : public LogSink {
public:
    void Write(const LogRecord& record) override {
        const std::lock_guard lock(m_mutex);
        m_text += '\n' + StringUtils::AsString(record.level) + ' ' + std::string(record.area) +
                  ' ' + std::string(record.text);
        m_place = std::string(record.file) + ':' + StringUtils::AsString(record.line);
    }

    // Returns the recorded text and clears it.
    std::string TakeText() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_text, {});
    }

    // Returns "file:line" of the last record.
    std::string GetPlace() {
        const std::lock_guard lock(m_mutex);
        return m_place;
    }

private:
    std::mutex m_mutex;
    std::string m_text;
    std::string m_place;
};

// Installs a started logger with one sink as the instance in use until the end of the scope.
template <class Sink>
class LoggerScope {
public:
    explicit LoggerScope(int globalLevel = 3) {
        logger->SetGlobalLogLevel(globalLevel);
        logger->AddSink(sink);
        logger->Start();
        Logger::SetInstance(logger);
    }

    ~LoggerScope() { Logger::SetInstance(nullptr); }
    LoggerScope(const LoggerScope&) = delete;
    LoggerScope& operator=(const LoggerScope&) = delete;

    const RCPtr<Logger> logger{new Logger};
    const RCPtr<Sink> sink{new Sink};
};

using ScopedLogger = LoggerScope<RecordingLogSink>;

}  // namespace zel::test
