#pragma once

#include "zel/core/RCPtr.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// A log message. The views are valid only during the call that passes the record.
struct LogRecord {
    int level;                                   ///< The level, 1 to 6; see Logger.
    std::string_view area;                       ///< The name of the log area.
    int line;                                    ///< The line in `file`.
    std::string_view text;                       ///< The message; may contain any bytes.
    std::chrono::system_clock::time_point time;  ///< The time of the call.
    std::uint64_t thread;                        ///< The thread's number in the system's tools.
    std::string_view file = {};                  ///< The source file; mostly the area's name.
};

/// Base class of the outputs of a Logger.
///
/// Thread-safe: `Write` may be called by several threads at once, with no lock of the logger held.
/// The calling thread may hold locks of its own, so a sink must not wait for other threads.
/// Exceptions that a sink throws are caught by the logger, and messages that it logs are discarded.
///
/// Guide: docs/core.md
class ZEL_CORE_API LogSink : public RCObject {
public:
    /// Writes a message. `record` is valid only during the call.
    virtual void Write(const LogRecord& record) = 0;
};

/// Formats a record as one line in UTC, without a line feed:
///
///     2026-03-01T12:00:00.123456Z 2 DataTree:123 [4711] text
///
/// The file, without its directories, follows the area as in `DataTree Reader.cpp:123` if its name
/// is not the area's. Control characters of the text are escaped.
ZEL_CORE_API std::string FormatLogRecord(const LogRecord& record);

/// Writes each record as one line to standard error. Thread-safe.
class ZEL_CORE_API StandardErrorLogSink : public LogSink {
public:
    void Write(const LogRecord& record) override;
};

/// Appends each record as one line to a log file, which is created if it doesn't exist. If the file
/// has been renamed or removed, the next record starts a new file at the path, so that log rotation
/// needs no signal. A line that can't be written is discarded. Thread-safe.
class ZEL_CORE_API FileLogSink : public LogSink {
public:
    /// Opens the file. Throws Exception if that fails.
    explicit FileLogSink(const std::string& path);
    ~FileLogSink() override;

    void Write(const LogRecord& record) override;

private:
    friend class RotatingFileLogSink;
    struct File;

    // Called with the lock held before a line of this length is appended.
    virtual void BeforeAppend(std::size_t length) noexcept;

    CriticalSection m_cs;
    std::unique_ptr<File> m_file;
};

/// A FileLogSink that limits the size of its file. Before a record that would make the file larger
/// than `maxBytes`, `path` is renamed to `path.1`, `path.1` to `path.2`, and so on; the oldest of
/// `oldFiles` such files is removed. Only a record that is larger by itself exceeds the limit.
///
///     logger->AddSink(new RotatingFileLogSink("/var/log/station.log", 10'000'000, 5));
///
/// While a file can't be renamed, records are appended to the file at `path`. Requires: no other
/// process rotates the same file. Thread-safe.
class ZEL_CORE_API RotatingFileLogSink : public FileLogSink {
public:
    /// Opens the file, which may contain records. Throws Exception if that fails.
    RotatingFileLogSink(const std::string& path, std::uint64_t maxBytes, unsigned oldFiles);
    ~RotatingFileLogSink() override;

private:
    void BeforeAppend(std::size_t length) noexcept override;

    const std::uint64_t m_maxBytes;
    std::vector<std::string> m_names;  // from the newest to the oldest
};

}  // namespace zel
