#pragma once

#include "zel/core/RCPtr.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zel {

// One log message. The views are good for the time of the call that passes it.
struct LogRecord {
    int level;                                   // as Logger tells
    std::string_view area;                       // its name
    int line;                                    // in the source file
    std::string_view text;                       // any bytes
    std::chrono::system_clock::time_point time;  // of the call
    std::uint64_t thread;                        // the number that the system's tools show
};

// Receives what a Logger lets through. Write may be called from several threads at once, with no
// lock of the logger held; the thread that logs may hold locks of its own, so a sink doesn't wait
// for other threads. What it throws ends there, and what it logs itself is dropped.
class ZEL_CORE_API LogSink : public RCObject {
public:
    // Takes a message. `record` is good for the time of the call.
    virtual void Write(const LogRecord& record) = 0;
};

// "2026-03-01T12:00:00.123456Z 2 DataTree:123 [4711] text" in UTC, on one line: control characters
// of the text are written as escapes.
ZEL_CORE_API std::string FormatLogRecord(const LogRecord& record);

// Writes each record as one line to standard error.
class ZEL_CORE_API StandardErrorLogSink : public LogSink {
public:
    void Write(const LogRecord& record) override;
};

// Appends each record as one line to a file, which is made when there is none. When the file has
// been renamed or removed, the next record begins a new one under the path. Throws Exception when
// the path can't be opened; a line that can't be written later is lost without a word.
class ZEL_CORE_API FileLogSink : public LogSink {
public:
    // Opens the file.
    explicit FileLogSink(const std::string& path);
    ~FileLogSink() override;

    void Write(const LogRecord& record) override;

private:
    struct File;
    CriticalSection m_cs;
    std::unique_ptr<File> m_file;
};

}  // namespace zel
