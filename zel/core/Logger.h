#pragma once

#include "zel/core/Exception.h"
#include "zel/core/LogSink.h"
#include "zel/core/SharedState.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/// Passes the log messages of the process to its sinks. There is one instance in use per process;
/// nothing is written if none is set, before `Start` and after `Stop`.
///
///     Logger::StartOnStandardError(3);
///
/// logs to standard error. Other sinks are added to a logger of one's own:
///
///     RCPtr<Logger> logger(new Logger);
///     logger->AddSink(new FileLogSink("/var/log/station.log"));
///     logger->SetGlobalLogLevel(3);
///     logger->Start();
///     Logger::SetInstance(logger);
///
/// | Level | Meaning |
/// |---|---|
/// | 1 | misuse that will crash |
/// | 2 | exceptions and failed set-up |
/// | 3 | failures that are only logged |
/// | 4 | progress |
/// | 5 | debug messages |
/// | 6 | traces |
///
/// A message is written if its level is not greater than the level of its log area, or than the
/// global level if the area has none of its own (-1).
///
/// Thread-safe, also during static initialisation and destruction. Sinks are called with no lock of
/// the logger held.
///
/// Guide: docs/core.md
class ZEL_CORE_API Logger : public RCObject {
public:
    /// Makes a logger that is not started, has global level 3 and no sinks.
    Logger();
    ~Logger() override;

    /// Returns the logger in use, or null.
    static RCPtr<Logger> GetInstance();

    /// Sets the logger in use, which may be null, and releases the previous one.
    static void SetInstance(RCPtr<Logger> logger);

    /// Starts a logger with a StandardErrorLogSink and this global level, sets it as the logger in
    /// use and returns it.
    static RCPtr<Logger> StartOnStandardError(int globalLevel);

    /// Starts or stops writing messages. Sinks and levels are unchanged.
    ///@{
    void Start();
    void Stop();
    ///@}

    /// Returns true between `Start` and `Stop`.
    bool IsStarted() const;

    /// Returns the level of all areas that have none of their own.
    int GetGlobalLogLevel() const;

    /// Sets the level of all areas that have none of their own.
    void SetGlobalLogLevel(int level);

    /// Overrides an area's level in this logger; -1 makes the area follow the global level.
    /// Directories in the name are ignored, as when an area is registered.
    void SetAreaLevel(const std::string& area, int level);

    /// Adds a sink. Requires: `sink` is not null.
    void AddSink(RCPtr<LogSink> sink);

    /// Removes a sink. Calls of it that began before may still be running.
    void RemoveSink(LogSink* sink);

    /// Passes a message to the sinks if the logger is started, whatever its level is. Messages
    /// logged by a sink are discarded, and exceptions thrown by one are caught. `file` is the
    /// source file; the first form uses the area's name.
    ///@{
    void AppendData(int level, std::string_view area, int line, const char* text,
                    std::size_t length);
    void AppendData(int level, std::string_view area, std::string_view file, int line,
                    const char* text, std::size_t length);
    ///@}

    /// Returns true if there is an instance, it is started and its global level is at least
    /// `level`.
    static bool ShouldLog(int level);

    /// Finds the log area of a source file and its level in the logger in use. The area's name is
    /// the file's name without directories; without the extension as well if an area is registered
    /// under that name. The level of an area that isn't registered is -1.
    ///@{
    static void GetAreaNameAndLevel(const std::string& file, std::string& name, int& level);
    static int GetLevelFromFileName(const std::string& file);
    ///@}

private:
    friend class LoggingState;
    using Sinks = std::vector<RCPtr<LogSink>>;

    std::shared_ptr<const Sinks> GetSinks() const;

    std::atomic<bool> m_started{false};
    std::atomic<int> m_globalLevel{3};
    // Guarded by the mutex of LoggingState, which computes the thresholds of the areas from it.
    std::map<std::string, int, std::less<>> m_areaLevels;
    mutable CriticalSection m_cs;
    std::shared_ptr<const Sinks> m_sinks;
};

struct LogAreaState;

/// Registers a log area and logs to it. The registration lasts until the process ends. If the name
/// is already registered, the level of the first registration is kept.
///
/// The texts of the library's messages are part of its interface, misspellings included: programs
/// search for them and compare them. Don't correct them.
///
/// Thread-safe.
class ZEL_CORE_API LoggingRegisterHelper {
public:
    /// Registers the area `name`, without its directories, with the level `level` (-1: follows the
    /// global level). The last argument is ignored.
    LoggingRegisterHelper(const char* name, int level, std::nullptr_t);
    LoggingRegisterHelper(const LoggingRegisterHelper&) = delete;
    LoggingRegisterHelper& operator=(const LoggingRegisterHelper&) = delete;

    /// Returns the area's name.
    const std::string& GetName() const noexcept;

    /// Returns true if a message of this level would be written now. Costs a load and a comparison.
    bool IsEnabled(int level) const noexcept {
        return level <= m_threshold->load(std::memory_order_relaxed);
    }

    /// Writes the message if its level is enabled. `file` is the source file; the first form uses
    /// the area's name.
    ///@{
    void Write(int level, int line, std::string_view text) const;
    void Write(int level, std::string_view file, int line, std::string_view text) const;
    ///@}

private:
    const LogAreaState* m_area;
    const std::atomic<int>* m_threshold;
};

/// Logs an exception at level 2 with its file and line, as is done before each throw.
ZEL_CORE_API void LogException(const LoggingRegisterHelper& area, const Exception& exception);

/// Logs an exception at level 2 and throws it.
template <class Ex>
[[noreturn]] void LogAndThrow(const LoggingRegisterHelper& area, const Ex& exception) {
    LogException(area, exception);
    throw exception;
}

}  // namespace zel
