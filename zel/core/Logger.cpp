#include "zel/core/Logger.h"

#include "zel/core/CriticalSectionLock.h"
#include "zel/core/FileUtils.h"
#include "zel/core/LoggingState.h"
#include "zel/platform/ThreadInfo.h"

#include <utility>

namespace zel {

namespace {

thread_local bool t_insideSink = false;

// Marks the calling thread as being inside a sink, so that messages of the sink are discarded.
class SinkScope {
public:
    SinkScope() noexcept { t_insideSink = true; }
    ~SinkScope() { t_insideSink = false; }
    SinkScope(const SinkScope&) = delete;
    SinkScope& operator=(const SinkScope&) = delete;
};

void WriteToSink(LogSink& sink, const LogRecord& record) noexcept {
    try {
        sink.Write(record);
    } catch (...) {
        // A failing sink must not affect the caller that logs.
    }
}

}  // namespace

Logger::Logger() : m_sinks(std::make_shared<const Sinks>()) {}

Logger::~Logger() = default;

RCPtr<Logger> Logger::GetInstance() {
    return LoggingState::Get().GetInstance();
}

void Logger::SetInstance(RCPtr<Logger> logger) {
    LoggingState::Get().SetInstance(std::move(logger));
}

RCPtr<Logger> Logger::StartOnStandardError(int globalLevel) {
    const RCPtr<Logger> logger(new Logger);
    logger->AddSink(new StandardErrorLogSink);
    logger->SetGlobalLogLevel(globalLevel);
    logger->Start();
    SetInstance(logger);
    return logger;
}

void Logger::Start() {
    LoggingState::Get().Reconfigure(*this, [this] { m_started = true; });
}

void Logger::Stop() {
    LoggingState::Get().Reconfigure(*this, [this] { m_started = false; });
}

bool Logger::IsStarted() const {
    return m_started;
}

int Logger::GetGlobalLogLevel() const {
    return m_globalLevel;
}

void Logger::SetGlobalLogLevel(int level) {
    LoggingState::Get().Reconfigure(*this, [&] { m_globalLevel = level; });
}

void Logger::SetAreaLevel(const std::string& area, int level) {
    const std::string name = FileUtils::GetFileFromPath(area);
    LoggingState::Get().Reconfigure(*this, [&] { m_areaLevels[name] = level; });
}

void Logger::AddSink(RCPtr<LogSink> sink) {
    CriticalSectionLock lock(&m_cs);
    auto sinks = std::make_shared<Sinks>(*m_sinks);
    sinks->push_back(std::move(sink));
    m_sinks = std::move(sinks);
}

void Logger::RemoveSink(LogSink* sink) {
    // Declared before the lock, so that a sink is destroyed after the lock is left.
    std::shared_ptr<const Sinks> replaced;
    CriticalSectionLock lock(&m_cs);
    auto sinks = std::make_shared<Sinks>(*m_sinks);
    std::erase(*sinks, sink);
    replaced = std::exchange(m_sinks, std::move(sinks));
    lock.Unlock();
}

void Logger::AppendData(int level, std::string_view area, int line, const char* text,
                        std::size_t length) {
    AppendData(level, area, area, line, text, length);
}

void Logger::AppendData(int level, std::string_view area, std::string_view file, int line,
                        const char* text, std::size_t length) {
    if (t_insideSink || !IsStarted()) {
        return;
    }
    const LogRecord record{level,
                           area,
                           line,
                           std::string_view(text, length),
                           std::chrono::system_clock::now(),
                           platform::CurrentThreadNumber(),
                           file};
    const SinkScope scope;
    const std::shared_ptr<const Sinks> sinks = GetSinks();
    for (const RCPtr<LogSink>& sink : *sinks) {
        WriteToSink(*sink, record);
    }
}

std::shared_ptr<const Logger::Sinks> Logger::GetSinks() const {
    CriticalSectionLock lock(&m_cs);
    return m_sinks;
}

bool Logger::ShouldLog(int level) {
    const RCPtr<Logger> logger = GetInstance();
    return logger && logger->IsStarted() && logger->GetGlobalLogLevel() >= level;
}

void Logger::GetAreaNameAndLevel(const std::string& file, std::string& name, int& level) {
    LoggingState& state = LoggingState::Get();
    name = state.AreaNameOfFile(file);
    level = state.GetLevel(name);
}

int Logger::GetLevelFromFileName(const std::string& file) {
    LoggingState& state = LoggingState::Get();
    return state.GetLevel(state.AreaNameOfFile(file));
}

LoggingRegisterHelper::LoggingRegisterHelper(const char* name, int level, std::nullptr_t)
    : m_area(&LoggingState::Get().Register(FileUtils::GetFileFromPath(name), level)),
      m_threshold(&m_area->threshold) {}

const std::string& LoggingRegisterHelper::GetName() const noexcept {
    return m_area->name;
}

void LoggingRegisterHelper::Write(int level, int line, std::string_view text) const {
    Write(level, m_area->name, line, text);
}

void LoggingRegisterHelper::Write(int level, std::string_view file, int line,
                                  std::string_view text) const {
    if (!IsEnabled(level)) {
        return;
    }
    if (const RCPtr<Logger> logger = Logger::GetInstance()) {
        logger->AppendData(level, m_area->name, file, line, text.data(), text.size());
    }
}

void LogException(const LoggingRegisterHelper& area, const Exception& exception) {
    if (area.IsEnabled(2)) {
        area.Write(2, exception.GetFile(), exception.GetLine(),
                   "Exception of type " + exception.GetType() + ". " + exception.GetText());
    }
}

}  // namespace zel
