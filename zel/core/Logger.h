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

// Receives the log messages of the whole process and hands them to its sinks. A process logs to the
// one instance that is set; without one, and before Start and after Stop, nothing is written.
//
//     RCPtr<Logger> logger(new Logger);
//     logger->AddSink(new StandardErrorLogSink);
//     logger->SetGlobalLogLevel(3);
//     logger->Start();
//     Logger::SetInstance(logger);
//
// Levels: 1 misuse that will crash, 2 exceptions and failed set-up, 3 failures that are only
// logged, 4 progress, 5 debug lines, 6 traces. A message of level N is written if the level of its
// area is at least N or, when the area has none of its own (-1), the global level is.
//
// Every call is safe from any thread, at load and at unload too. Sinks are called with no lock of
// the logger held.
class ZEL_CORE_API Logger : public RCObject {
public:
    // Not started, global level 3, no sinks.
    Logger();
    ~Logger() override;

    // The logger in use; null if none is set. The one that is set is held until another one is.
    static RCPtr<Logger> GetInstance();
    static void SetInstance(RCPtr<Logger> logger);

    // Begin and end the writing of messages, and tell whether they are written. Sinks and levels
    // stay as they are.
    void Start();
    void Stop();
    bool IsStarted() const;

    // The level of every area that has none of its own.
    int GetGlobalLogLevel() const;
    void SetGlobalLogLevel(int level);

    // Overrides an area's level in this logger; -1 makes the area follow the global level.
    void SetAreaLevel(const std::string& area, int level);

    // `sink` isn't null.
    void AddSink(RCPtr<LogSink> sink);

    // The sink may still be in a call that began earlier.
    void RemoveSink(LogSink* sink);

    // Hands a message to the sinks if the logger is started. It doesn't look at levels: its callers
    // have. Messages that a sink logs are dropped, and so is what it throws.
    void AppendData(int level, std::string_view area, int line, const char* text,
                    std::size_t length);

    // True if there is an instance, it is started and its global level is at least `level`.
    static bool ShouldLog(int level);

    // The log area of a source file, and the area's level in the instance in use. The area is named
    // for the file without its directories, and without its extension if that is how it was
    // registered; a file that nobody registered is an area of its own, at level -1.
    static void GetAreaNameAndLevel(const std::string& file, std::string& name, int& level);
    static int GetLevelFromFileName(const std::string& file);

private:
    friend class LoggingState;
    using Sinks = std::vector<RCPtr<LogSink>>;

    std::shared_ptr<const Sinks> GetSinks() const;

    std::atomic<bool> m_started{false};
    std::atomic<int> m_globalLevel{3};
    // Guarded by the lock of the logging state, as the levels of the areas follow from them.
    std::map<std::string, int, std::less<>> m_areaLevels;
    mutable CriticalSection m_cs;
    std::shared_ptr<const Sinks> m_sinks;
};

// One registered log area; its threshold is kept true to the logger in use.
struct LogAreaState;

// Registers a log area for as long as the process lives, and logs in it. A name that is registered
// already keeps its first level.
class ZEL_CORE_API LoggingRegisterHelper {
public:
    // The directories of a path are cut off. The last argument has no meaning.
    LoggingRegisterHelper(const char* name, int level, std::nullptr_t);
    LoggingRegisterHelper(const LoggingRegisterHelper&) = delete;
    LoggingRegisterHelper& operator=(const LoggingRegisterHelper&) = delete;

    // The area's name.
    const std::string& GetName() const noexcept;

    // Whether a message of this level would be written now: a load and a comparison.
    bool IsEnabled(int level) const noexcept {
        return level <= m_threshold->load(std::memory_order_relaxed);
    }

    // Writes the message if its level is on.
    void Write(int level, int line, std::string_view text) const;

private:
    const LogAreaState* m_area;
    const std::atomic<int>* m_threshold;
};

// Writes the line that stands before every throw, at level 2.
ZEL_CORE_API void LogException(const LoggingRegisterHelper& area, const Exception& exception);

// Writes that line and throws.
template <class Ex>
[[noreturn]] void LogAndThrow(const LoggingRegisterHelper& area, const Ex& exception) {
    LogException(area, exception);
    throw exception;
}

}  // namespace zel
